#include "ProjectConnectionBase.hpp"

#include "CacheUpdate.hpp"
#include "CheckOptions.hpp"
#include "ComputerName.hpp"
#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Resources.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraURL.hpp"

#include <algorithm>
#include <utility>

namespace SYC {

namespace {

void LogCreation(bool secondary)
{
    OV::Logger::Info(OV::Logger::Library, secondary ? u"Secondary SYC::ProjectConnection created"
                                                    : u"SYC::ProjectConnection created");
}

/// Empty for a location that is no project URL.
Inner::ProjectConnectionInfo DescribeProject(const IO::Location& location)
{
    return IsSyncraURL(location) ? ToConnectionInfo(location) : Inner::ProjectConnectionInfo();
}

/// What the host fails at does not change what the check finds.
void TellProgress(const CheckOptions& options, CheckStep step)
{
    if (!options.progress)
        return;
    OV::AssertNoLockHeld("CheckOptions::progress");
    try {
        options.progress(step);
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"The host failed to take %: %",
                                u"the progress of a check");
    }
}

}  // namespace

OV::UniString ToText(CheckStep step)
{
    return OV::GetStringListItem(TextLists::CheckSteps, static_cast<std::int32_t>(step));
}

ProjectConnectionBase::ProjectConnectionBase(Kind kind) : kind_(kind), secondary_(false)
{
    LogCreation(secondary_);
}

ProjectConnectionBase::ProjectConnectionBase(Kind kind, IO::Location projectLocation,
                                             std::shared_ptr<CachedProjectInfo> cache)
    : kind_(kind), secondary_(true), projectLocation_(std::move(projectLocation)),
      cache_(std::move(cache))
{
    LogCreation(secondary_);
}

ProjectConnectionBase::~ProjectConnectionBase() = default;

CheckResult ProjectConnectionBase::Check(bool firstCheck, bool newSession, bool forceOnline,
                                         bool allowTakeover)
{
    return Check(CheckOptions{firstCheck, newSession, forceOnline, allowTakeover, nullptr, {}});
}

CheckResult ProjectConnectionBase::Check(const CheckOptions& options)
{
    // Either of them ends the check: the token of the options, or the thread's own.
    std::stop_source stop;
    const auto forward = [&stop] { stop.request_stop(); };
    const std::stop_callback wished(options.stop, forward);
    const std::stop_callback interrupted(OV::Thread::CurrentToken(), forward);
    const OV::InterruptionScope scope(stop.get_token());
    failure_ = {};
    eventText_.clear();
    try {
        if (const FailureKind hindrance = WhatHinders(options); hindrance != FailureKind::None) {
            failure_ = MakeFailure(hindrance);
            return result_ = CheckResult::Offline;
        }
        if (!secondary_)
            firstCheck_ = options.firstCheck;
        RunSteps(options);
        checked_ = true;
        // A presence that is held offline stays so.
        if (result_ == CheckResult::Passed)
            _GetProjectConnectionManager()->GetSignalClient().GetPresenceService().SetState(
                SYCB::PresenceState::Online);
        failure_ = ExplainResult();
    } catch (...) {
        failure_ = DescribeException();
        result_ = ResultOfCurrentException();
    }
    OV::Logger::Info(OV::Logger::Library, u"SYC::ProjectConnection::Check result : %",
                     {static_cast<std::int32_t>(result_)});
    return result_;
}

FailureKind ProjectConnectionBase::WhatHinders(const CheckOptions& options) const
{
    if (_GetProjectConnectionManager() == nullptr)
        return FailureKind::WrongInput;
    if (secondary_ || options.forceOnline || !IsOfflineByPresence())
        return FailureKind::None;
    // Support tools look for the line as it is spelled.
    OV::Logger::Info(OV::Logger::Library,
                     u"SYC::ProjectConnection::Check return Offfline about presenceState.");
    return FailureKind::WorkingOffline;
}

/// Of a check that ended without an exception.
Failure ProjectConnectionBase::ExplainResult() const
{
    if (result_ == CheckResult::SessionInUse)
        return MakeFailure(FailureKind::SessionInUse, u"\"" + eventText_ + u"\"");
    if (result_ != CheckResult::Offline)
        return MakeFailure(KindOf(result_));
    if (_GetSyncraClient() == nullptr)
        return MakeFailure(FailureKind::NotReached);
    return MakeFailure(cache_ ? FailureKind::NoSession : FailureKind::NoCache);
}

bool ProjectConnectionBase::IsOfflineByPresence() const
{
    const auto state =
        _GetProjectConnectionManager()->GetSignalClient().GetPresenceService().GetState();
    return state != SYCB::PresenceState::Unknown && state != SYCB::PresenceState::Online;
}

void ProjectConnectionBase::RunSteps(const CheckOptions& options)
{
    const auto step = [&](CheckStep each, auto&& run) {
        if (each == CheckStep::Connect || result_ == CheckResult::Passed)
            TellProgress(options, each);
        run();
    };
    Syncra::Protocol::Session sessionInfo;
    step(CheckStep::Connect, [this] { ConnectAndAuthenticateToServer(); });
    step(CheckStep::FindProject, [&] { AuthenticateToProject(options.forceOnline); });
    step(CheckStep::FindCache, [this] { GetCachedProjectInfo(); });
    step(CheckStep::CompareProject, [this] { CheckProjectAvailability(); });
    step(CheckStep::TakeSession, [&] {
        StartAndCheckSession(options.forceOnline, options.newSession, options.allowTakeover,
                             sessionInfo);
    });
    step(CheckStep::FillCache, [&] { FillCache(sessionInfo); });
    if (kind_ == Kind::Writing)
        step(CheckStep::AskState, [this] { CheckProjectState(); });
}

/// Called inside a catch block.
CheckResult ProjectConnectionBase::ResultOfCurrentException()
{
    using Syncra::Protocol::ErrorCode;
    try {
        throw;
    } catch (const Communication::ResponseContentException& error) {
        switch (static_cast<ErrorCode>(error.GetErrorCode())) {
        case ErrorCode::BadCredentials:
        case ErrorCode::AccessDenied:
        case ErrorCode::UserDisabled:
            return Fail(CheckResult::AccessDenied, HostEvent::AccessDenied);
        case ErrorCode::ProjectUnavailable:
            return CheckResult::ForbiddenByState;
        default:
            break;
        }
    } catch (const SYCB::IncopatibleServerVersionException&) {
        return Fail(CheckResult::IncompatibleVersion, HostEvent::IncompatibleVersion);
    } catch (...) {
    }
    OV::LogCurrentException(OV::Logger::Library, u"%: %", u"SYC::ProjectConnection::Check");
    return CheckResult::Offline;
}

CheckResult ProjectConnectionBase::Fail(CheckResult result, HostEvent event,
                                        const OV::UniString& text)
{
    result_ = result;
    eventText_ = text;
    PostEvent(event, text);
    return result_;
}

/// What the host fails at does not change what the check found.
void ProjectConnectionBase::PostEvent(HostEvent event, const OV::UniString& text) const
{
    const auto code = static_cast<std::int32_t>(event);
    try {
        OV::AssertNoLockHeld("ProjectConnectionManagerInterface::PostEvent");
        if (auto* manager = _GetProjectConnectionManager())
            manager->PostEvent(code, text);
    } catch (const std::exception& error) {
        OV::Logger::Error(OV::Logger::Library, u"The host failed to take event %: %",
                          {code, error.what()});
    } catch (...) {
        OV::Logger::Error(OV::Logger::Library, u"The host failed to take event %.", {code});
    }
}

Syncra::Client::SyncraClient& ProjectConnectionBase::Client() const
{
    auto* client = _GetSyncraClient();
    if (client == nullptr)
        throw OV::NullReferenceException();
    return *client;
}

CachedProjectInfo& ProjectConnectionBase::Cache() const
{
    if (!cache_)
        throw OV::NullReferenceException();
    return *cache_;
}

/// The host may have opened another project since the last check, or the user may have changed the
/// password in the location: nothing of what the former one said is used again.
void ProjectConnectionBase::TakeProjectLocation()
{
    auto* manager = _GetProjectConnectionManager();
    IO::Location location =
        secondary_ || manager == nullptr ? projectLocation_ : manager->GetProjectLocation();
    if (isDescribed_ && location == projectLocation_)
        return;
    connection_ = DescribeProject(location);
    projectLocation_ = std::move(location);
    isDescribed_ = true;
    project_ = {};
    sessionId_.clear();
    if (!secondary_)
        cache_.reset();
}

CheckResult ProjectConnectionBase::ConnectAndAuthenticateToServer()
{
    result_ = CheckResult::Offline;
    TakeProjectLocation();
    if (!clientLocation_.IsEmpty() && clientLocation_ != projectLocation_) {
        _SetSyncraClient(nullptr);
        clientLocation_ = {};
    }
    if (_GetSyncraClient() == nullptr && !projectLocation_.IsEmpty()) {
        auto* manager = _GetProjectConnectionManager();
        if (secondary_)
            _SetSyncraClient(SYCB::CreateSyncraClient(projectLocation_));
        else if (manager != nullptr)
            _SetSyncraClient(SYCB::CreateSyncraClientOnOpenedProject(
                *manager, connection_.serverName, connection_.port, connection_.userName,
                connection_.password));
        clientLocation_ = projectLocation_;
    }
    if (_GetSyncraClient() != nullptr)
        result_ = CheckResult::Passed;
    return result_;
}

CheckResult ProjectConnectionBase::AuthenticateToProject(bool /*forceOnline*/)
{
    if (result_ != CheckResult::Passed)
        return result_;
    const OV::UniString& name = connection_.projectName;
    const auto projects = Client().GetProjects();
    const auto found = std::find_if(projects.begin(), projects.end(),
                                    [&](const auto& project) { return project.name == name; });
    if (found != projects.end()) {
        project_ = *found;
        return IsMemberOfProject() ? result_
                                   : Fail(CheckResult::AccessDenied, HostEvent::AccessDenied);
    }
    project_ = {};
    return Client().ProjectExists(name)
               ? Fail(CheckResult::ProjectMismatch, HostEvent::ProjectMismatch)
               : Fail(CheckResult::ProjectNotFound, HostEvent::ProjectNotFound);
}

/// An error in the query counts as no membership: who cannot be shown to be a member is none.
bool ProjectConnectionBase::IsMemberOfProject() const
{
    try {
        return Client().IsMember(project_.id);
    } catch (const OV::InterruptedException&) {
        throw;  // nobody was asked
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library,
                                u"Whether the user is a member of \"%\" could not be asked: %",
                                project_.name);
        return false;
    }
}

CheckResult ProjectConnectionBase::GetCachedProjectInfo()
{
    if (result_ != CheckResult::Passed)
        return result_;
    if (!secondary_)
        if (auto* manager = _GetProjectConnectionManager())
            cache_ = std::dynamic_pointer_cast<CachedProjectInfo>(manager->GetCachedProjectInfo());
    if (!cache_)
        result_ = CheckResult::Offline;
    return result_;
}

CheckResult ProjectConnectionBase::CheckProjectAvailability()
{
    if (result_ != CheckResult::Passed)
        return result_;
    const OV::UniString cachedId = Cache().GetProjectId();
    if (!project_.id.empty() && !cachedId.empty() && project_.id != cachedId)
        return Fail(CheckResult::ProjectNotFound, HostEvent::ProjectNotFound);
    return result_;
}

CheckResult ProjectConnectionBase::StartAndCheckSession(bool /*forceOnline*/, bool newSession,
                                                        bool allowTakeover,
                                                        Syncra::Protocol::Session& sessionInfo)
{
    if (result_ != CheckResult::Passed)
        return result_;
    const OV::UniString cachedId = newSession ? OV::UniString() : Cache().GetSessionId();
    sessionId_.clear();
    if (ReceiveSession(sessionInfo))
        sessionId_ = sessionInfo.id;
    if (cachedId.empty()) {
        TakeOrStartSession(sessionInfo);
        if (sessionId_.empty())
            return result_ = CheckResult::Offline;
    } else if (cachedId != sessionId_) {
        return Fail(CheckResult::ProjectMismatch, HostEvent::ProjectMismatch);
    }
    if (!secondary_)
        CheckSessionComputer(allowTakeover);
    return result_;
}

void ProjectConnectionBase::TakeOrStartSession(Syncra::Protocol::Session& sessionInfo)
{
    if (!sessionId_.empty())
        return;
    try {
        sessionInfo = Client().StartSession(project_.id);
    } catch (const Communication::ResponseContentException& error) {
        if (error.GetErrorCode() !=
            static_cast<std::int32_t>(Syncra::Protocol::ErrorCode::SessionExists))
            throw;
        // Another client of this user was quicker; its session is ours too.
        if (!ReceiveSession(sessionInfo))
            return;
    }
    sessionId_ = sessionInfo.id;
}

void ProjectConnectionBase::CheckSessionComputer(bool allowTakeover)
{
    OV::UniString thisComputer;
    GetClientComputerName(thisComputer);
    const OV::UniString holder = GetSessionComputerAttribute();
    if (!holder.empty() && !OV::EqualsIgnoreCase(holder, thisComputer) && !allowTakeover) {
        Fail(CheckResult::SessionInUse, HostEvent::SessionInUse, holder);
        return;
    }
    if (holder != thisComputer)
        Client().SetSessionAttribute(sessionId_,
                                     Syncra::Protocol::SessionAttributeNames::ComputerName,
                                     OV::ToUtf8(thisComputer));
}

CheckResult ProjectConnectionBase::FillCache(const Syncra::Protocol::Session& sessionInfo)
{
    if (result_ != CheckResult::Passed)
        return result_;
    CachedProjectInfo& cache = Cache();
    CacheUpdate update(cache);
    cache.SetProjectConnectionInfo(connection_);
    cache.SetProjectId(project_.id);
    cache.SetCategoryName(project_.category);
    cache.SetProjectVersion(project_.version);
    cache.SetProjectBuildNum(project_.build);
    cache.SetUserId(sessionInfo.userId);
    cache.SetUserName(sessionInfo.userName);
    cache.SetSessionId(sessionId_);
    cache.SetLogonId(sessionInfo.logonId);
    cache.SetRoleName(sessionInfo.roleName);
    cache.SetPermissions(sessionInfo.permissions);
    update.End();
    return result_;
}

CheckResult ProjectConnectionBase::CheckProjectState()
{
    if (result_ != CheckResult::Passed || kind_ != Kind::Writing)
        return result_;
    if (Client().GetProjectState(project_.id) == Syncra::Protocol::ProjectState::Locked)
        return Fail(CheckResult::ForbiddenByState, HostEvent::ForbiddenByState);
    return result_;
}

bool ProjectConnectionBase::IsOpen() const
{
    return checked_ && result_ == CheckResult::Passed && _GetSyncraClient() != nullptr;
}

OV::UniString ProjectConnectionBase::GetSessionComputerAttribute() const
{
    return Client().GetSessionAttribute(sessionId_,
                                        Syncra::Protocol::SessionAttributeNames::ComputerName);
}

bool ProjectConnectionBase::ReceiveSession(Syncra::Protocol::Session& sessionInfo) const
{
    const auto sessions = Client().GetSessions(project_.id);
    if (sessions.empty())
        return false;
    sessionInfo = sessions.front();
    return true;
}

bool ProjectConnectionBase::IsEditConflict() const
{
    Syncra::Protocol::Session current;
    if (!ReceiveSession(current) || current.id != sessionId_)
        return true;
    OV::UniString thisComputer;
    GetClientComputerName(thisComputer);
    const OV::UniString holder = GetSessionComputerAttribute();
    return !holder.empty() && !OV::EqualsIgnoreCase(holder, thisComputer);
}

}  // namespace SYC
