#pragma once

#include "Messaging/OverExecutor.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/PKSignalClient.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"
#include "SyncraProtocol/Session.hpp"

#include <memory>

namespace SYC {

class OpenedProject;

/// Hears that somebody else ended the user's session.
class SYC_API SessionEndObserver : public OV::ObserverBase {
public:
    virtual ~SessionEndObserver() = default;
    /// Somebody who manages the members ended the user's session in the opened project. What the
    /// host has not sent yet is still here; the next check may start a new session.
    virtual void _SessionEnded(const Syncra::Protocol::SessionEnd& end) = 0;
};

/// Tells the host when somebody else ends the session that it works in, by whom and why; also when
/// that happened before the watch began, or while the server was out of reach. Make it once the
/// signals are started.
///
/// Made, used and destroyed on one thread, the one that its executor runs on; observers are told
/// there, once. The server is asked on a worker thread, for the session that the cache on the disk
/// has by then; a check may be at work with the manager meanwhile.
class SYC_API SessionWatch final : public OverExecutor, private SYCB::PKSignalClientObserver {
public:
    /// Watches the session that the cache of the opened project has. Everything given outlives the
    /// watch. Throws OV::IllegalArgumentException for a project that was never checked.
    SessionWatch(SYCB::PKSignalClient& signalClient,
                 SYCB::ProjectConnectionManagerInterface& manager, OV::Executor& executor);
    /// Ends a request under way, within 100 ms.
    ~SessionWatch();

    /// Attached for as long as the answer lives.
    [[nodiscard]] OV::Subscription Subscribe(SessionEndObserver& observer)
    {
        return observers_.Subscribe(observer);
    }

private:
    bool _CheckSignalType(Syncra::Protocol::SignalId id) const override;
    void _SignalReceived(const Syncra::Protocol::Signal& signal) override;
    void Ask();

    SYCB::PKSignalClient& signalClient_;
    const IO::Location cacheFolder_;
    const std::unique_ptr<OpenedProject> project_;
    OV::UniString toldSession_;
    OV::EventSource<SessionEndObserver> observers_;
    OV::PooledExecutor worker_;
};

}  // namespace SYC
