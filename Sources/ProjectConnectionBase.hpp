#pragma once

#include "CachedProjectInfo.hpp"
#include "CheckResult.hpp"
#include "Failure.hpp"
#include "OVRoot/Export.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <memory>

namespace SYC {

struct CheckOptions;
enum class CheckStep : std::int32_t;

/// Makes sure, before the host reads or writes a shared project, that the server can be reached,
/// that the user may use the project, that it is still the cached one, and that this computer holds
/// a session for it. Synchronous, on the caller's thread; one thread at a time.
///
/// The primary connection works on the project that the host has open; a secondary one is made from
/// a project URL of its own, asks nothing of the presence state, and leaves the computer of the
/// session alone.
class SYC_API ProjectConnectionBase {
public:
    virtual ~ProjectConnectionBase();
    ProjectConnectionBase(const ProjectConnectionBase&) = delete;
    ProjectConnectionBase& operator=(const ProjectConnectionBase&) = delete;

    /// Runs all steps. Never throws: every failure is a result, which GetLastFailure explains, and,
    /// where the user must hear about it, one event posted through the manager.
    ///
    /// Blocks for some eight requests, each at most as long as HttpOptions allow (10 s to connect,
    /// 30 s of silence). Ends within 100 ms, as a cancelled one, when the calling OV::Thread is
    /// interrupted or the stop token of the options is asked to stop. StartCheck (StartCheck.hpp)
    /// does the same without blocking.
    [[nodiscard]] CheckResult Check(const CheckOptions& options);
    /// The same with the first four of the options.
    /// @param firstCheck    remembered for the host (IsFirstCheck); it changes no step
    /// @param newSession    forget the cached session and take or start the server's
    /// @param forceOnline   check even while the presence state says offline
    /// @param allowTakeover take the session over from another computer
    [[nodiscard]] CheckResult Check(bool firstCheck, bool newSession, bool forceOnline,
                                    bool allowTakeover);

    /// The steps of Check in their order. Each does nothing when the result is not 0 already (the
    /// first one begins anew), returns the updated result, and throws what the server or the disk
    /// throws; OV::NullReferenceException when a step before it, whose client or cache it needs,
    /// was left out.
    CheckResult ConnectAndAuthenticateToServer();
    /// See ConnectAndAuthenticateToServer.
    /// @{
    CheckResult AuthenticateToProject(bool forceOnline);
    CheckResult GetCachedProjectInfo();
    CheckResult CheckProjectAvailability();
    CheckResult StartAndCheckSession(bool forceOnline, bool newSession, bool allowTakeover,
                                     Syncra::Protocol::Session& sessionInfo);
    CheckResult FillCache(const Syncra::Protocol::Session& sessionInfo);
    CheckResult CheckProjectState();
    /// @}

    /// How the last check ended.
    [[nodiscard]] CheckResult GetResult() const noexcept { return result_; }
    /// Why it did not pass; none after one that passed.
    [[nodiscard]] const Failure& GetLastFailure() const noexcept { return failure_; }
    /// The last check passed and its client is still there.
    [[nodiscard]] bool IsOpen() const;
    /// What the last Check was told.
    [[nodiscard]] bool IsFirstCheck() const noexcept { return firstCheck_; }
    /// Whether it was made from a project URL of its own.
    [[nodiscard]] bool IsSecondary() const noexcept { return secondary_; }
    /// The session of the last check that passed, or that the manager knows; empty when there is
    /// none.
    [[nodiscard]] OV::UniString GetSessionId() const { return _GetSessionId(); }
    /// Null when there is none.
    [[nodiscard]] Syncra::Client::SyncraClient* GetSyncraClient() const
    {
        return _GetSyncraClient();
    }
    /// Null when there is none.
    [[nodiscard]] SYCB::ProjectConnectionManagerInterface* GetProjectConnectionManager() const
    {
        return _GetProjectConnectionManager();
    }
    /// The server's identifier of the project, once a check found it; empty before.
    [[nodiscard]] const OV::UniString& GetProjectId() const noexcept { return project_.id; }
    /// The project's place on the server, as its project list names it.
    [[nodiscard]] const OV::UniString& GetServerLocation() const noexcept
    {
        return project_.location;
    }
    /// Null before the step that obtains it.
    [[nodiscard]] const std::shared_ptr<CachedProjectInfo>& GetCache() const noexcept
    {
        return cache_;
    }

    /// The computer that the server notes for the session; empty when none. This and the two below
    /// ask the server, throw what it throws, and block and are cancelled as Check.
    [[nodiscard]] OV::UniString GetSessionComputerAttribute() const;
    /// Reads the user's session in the project anew; false when the server has none.
    [[nodiscard]] bool ReceiveSession(Syncra::Protocol::Session& sessionInfo) const;
    /// Whether somebody else may have worked in this session since the check: the server's session
    /// is another one, or another computer took it over. For the host, before it sends.
    [[nodiscard]] bool IsEditConflict() const;

protected:
    /// What the host does with the project; one for writing is refused while the project is locked.
    enum class Kind { Reading, Writing };

    /// The primary connection, to the opened project of the manager.
    explicit ProjectConnectionBase(Kind kind);
    /// A secondary connection to `projectLocation` with the cache to keep current; `cache` may be
    /// null, and the check then ends with result 1.
    ProjectConnectionBase(Kind kind, IO::Location projectLocation,
                          std::shared_ptr<CachedProjectInfo> cache);

    /// Where the client and the manager stand; the connection that derives owns the one and knows
    /// the other.
    /// @{
    [[nodiscard]] virtual Syncra::Client::SyncraClient* _GetSyncraClient() const = 0;
    virtual void _SetSyncraClient(std::unique_ptr<Syncra::Client::SyncraClient> client) = 0;
    [[nodiscard]] virtual SYCB::ProjectConnectionManagerInterface*
    _GetProjectConnectionManager() const = 0;
    /// @}
    /// See GetSessionId.
    [[nodiscard]] virtual OV::UniString _GetSessionId() const = 0;

    /// The session of the last check that passed; empty when there is none.
    [[nodiscard]] const OV::UniString& SessionId() const noexcept { return sessionId_; }

private:
    [[nodiscard]] bool IsOfflineByPresence() const;
    [[nodiscard]] FailureKind WhatHinders(const CheckOptions& options) const;
    void RunSteps(const CheckOptions& options);
    [[nodiscard]] Failure ExplainResult() const;
    CheckResult ResultOfCurrentException();
    CheckResult Fail(CheckResult result, HostEvent event, const OV::UniString& text = {});
    void PostEvent(HostEvent event, const OV::UniString& text) const;
    void TakeProjectLocation();
    [[nodiscard]] Syncra::Client::SyncraClient& Client() const;
    [[nodiscard]] CachedProjectInfo& Cache() const;
    [[nodiscard]] bool IsMemberOfProject() const;
    void TakeOrStartSession(Syncra::Protocol::Session& sessionInfo);
    void CheckSessionComputer(bool allowTakeover);

    const Kind kind_;
    const bool secondary_;
    CheckResult result_ = CheckResult::Passed;
    Failure failure_;
    OV::UniString eventText_;  ///< what came with the event of the result
    bool checked_ = false;
    bool firstCheck_ = false;
    IO::Location projectLocation_;
    bool isDescribed_ = false;
    Inner::ProjectConnectionInfo connection_;  ///< what projectLocation_ says
    /// What the client that this made was made for; empty when it made none.
    IO::Location clientLocation_;
    Syncra::Protocol::Project project_;
    OV::UniString sessionId_;
    std::shared_ptr<CachedProjectInfo> cache_;
};

}  // namespace SYC
