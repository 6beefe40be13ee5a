#pragma once

#include "CachedProjectInfo.hpp"
#include "Failure.hpp"
#include "OVRoot/Export.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"

#include <functional>
#include <memory>

namespace SYC {

class CacheHold;

/// The connection manager for a host that has none of its own: one opened project, its cache below
/// a data folder, its signal client, and a sink for the events that the user must hear about. For
/// one thread at a time (a check on a worker is that one); the event sink is called on the thread
/// that posts.
class SYC_API ClientProjectConnectionManager final
    : public SYCB::ProjectConnectionManagerInterface {
public:
    /// Takes an event of the host (HostEvent in CheckResult.hpp) and the text that comes with it.
    /// What it throws is logged.
    using EventSink = std::function<void(std::int32_t eventCode, const OV::UniString& text)>;

    /// `projectLocation` is a project URL (OV::IllegalArgumentException otherwise); caches stand
    /// below `dataFolder`, which is made with the first of them.
    ClientProjectConnectionManager(IO::Location projectLocation, IO::Location dataFolder,
                                   EventSink eventSink);
    ~ClientProjectConnectionManager() override;

    [[nodiscard]] IO::Location GetProjectLocation() const override { return projectLocation_; }
    /// The project's cache: found below the data folder, or made on the first call. From then on,
    /// as long as this object lives, nobody removes it (see CleanUp.hpp). Throws what the disk
    /// throws.
    [[nodiscard]] std::shared_ptr<SYCB::CachedProjectInfo> GetCachedProjectInfo() override;
    /// Lives as long as this object.
    [[nodiscard]] SYCB::PKSignalClient& GetSignalClient() override { return signalClient_; }
    [[nodiscard]] OV::UniString GetSessionId() const override;
    void PostEvent(std::int32_t eventCode, const OV::UniString& text) override;

    /// The cache when there is one; null otherwise. Makes nothing. Throws
    /// Syncra::Server::ManagementTool::Core::FileOpenningError when one may be there and cannot be
    /// read; so does GetSessionId.
    [[nodiscard]] std::shared_ptr<CachedProjectInfo> FindCache() const;

    /// Begins to listen for the signals of the opened project, after a check that passed. Neither
    /// of the two waits for the server.
    void StartSignals(const OV::UniString& projectId);
    /// Ends the listening, as SYCB::PKSignalClient::Stop.
    void StopSignals();
    /// Why the opened project is offline although its signals are listened for; none while it is
    /// online. Safe on any thread.
    [[nodiscard]] Failure GetLastFailure() const
    {
        return DescribeException(signalClient_.GetFailure());
    }

private:
    IO::Location projectLocation_;
    IO::Location dataFolder_;
    EventSink eventSink_;
    mutable std::shared_ptr<CachedProjectInfo> cache_;
    std::unique_ptr<CacheHold> hold_;
    SYCB::PKSignalClient signalClient_;
};

}  // namespace SYC
