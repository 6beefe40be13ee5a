#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "SYClientBase/PresenceService.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/Signal.hpp"

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>

namespace SYCB {

/// Hears the signals of one opened project.
class SYC_API PKSignalClientObserver : public OV::ObserverBase {
public:
    virtual ~PKSignalClientObserver() = default;
    /// Whether the observer wants signals of this kind.
    [[nodiscard]] virtual bool _CheckSignalType(Syncra::Protocol::SignalId id) const = 0;
    /// Called on the signal client's own thread, or on the executor that was given with the
    /// observer.
    virtual void _SignalReceived(const Syncra::Protocol::Signal& signal) = 0;
};

/// Listens for the signals of one opened project on a thread of its own and feeds its presence
/// service: online while the server answers, offline when it does not, then tried again with
/// growing pauses. After a reconnection every observer gets one signal of each kind, so that
/// nothing that happened in between is missed. A server that refuses the user ends the listening
/// (offline, with a log line).
class SYC_API PKSignalClient {
public:
    /// Makes the signed-in client for each connection; may throw as SyncraClient does.
    using Connector = std::function<std::unique_ptr<Syncra::Client::SyncraClient>()>;

    PKSignalClient();
    /// Stops; not for the signal client's own thread.
    ~PKSignalClient();
    PKSignalClient(const PKSignalClient&) = delete;
    PKSignalClient& operator=(const PKSignalClient&) = delete;

    /// Begins to listen; a second call listens to the new project instead.
    void Start(Connector connector, OV::UniString projectId);
    /// Ends the held request at once and joins the thread. The presence becomes Unknown. Called by
    /// an observer on the signal client's own thread, it ends the listening as soon as that call
    /// returns.
    void Stop();

    /// Which this feeds, and which lives as long.
    [[nodiscard]] PresenceService& GetPresenceService() noexcept { return presence_; }
    /// What was thrown by the last attempt to listen, while the server is not listened to; null
    /// while it is and when nobody has tried. Safe on any thread.
    [[nodiscard]] std::exception_ptr GetFailure() const;
    /// The clock of GetNextTry, which no change of the computer's time moves.
    using Clock = std::chrono::steady_clock;
    /// When the server is tried again; nothing while no pause is under way: it answers or is being
    /// asked, the user works offline, or the server refused him. Safe on any thread.
    [[nodiscard]] std::optional<Clock::time_point> GetNextTry() const;
    /// Ends such a pause. Safe on any thread.
    void TryNow();

    /// The user chose to work offline: nothing sets the presence online until it is lifted.
    [[nodiscard]] bool IsForcedOffline() const noexcept;
    /// Forcing ends the held request, sets the presence offline and leaves the server alone;
    /// lifting tries to connect at once.
    void SetForcedOffline(bool forced);

    /// An observer detaches before it is destroyed, or is attached only as long as the answer of
    /// Subscribe lives (see OVRoot/EventSource.hpp). It may outlive this object. With an executor
    /// it is told there, and not at all once the answer has ended.
    void Attach(PKSignalClientObserver& observer);
    /// See Attach.
    /// @{
    void Detach(PKSignalClientObserver& observer);
    [[nodiscard]] OV::Subscription Subscribe(PKSignalClientObserver& observer);
    [[nodiscard]] OV::Subscription Subscribe(PKSignalClientObserver& observer,
                                             OV::Executor& executor);
    /// @}

private:
    struct State;
    PresenceService presence_;
    std::unique_ptr<State> state_;
};

}  // namespace SYCB
