#include "ProjectConnectionBase.hpp"

#include "CacheUpdate.hpp"
#include "ComputerName.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraURL.hpp"

#include <algorithm>
#include <utility>

namespace SYC {

namespace {

constexpr OV::StringView LogCategory = "SYClient";

void LogCreation(bool secondary)
{
    OV::Logger::Info(LogCategory, secondary ? u"Secondary SYC::ProjectConnection created"
                                            : u"SYC::ProjectConnection created");
}

ClientProjectData DescribeProject(const IO::Location& location)
{
    ClientProjectData description;
    if (!IsSyncraURL(location))
        return description;
    const Inner::ProjectConnectionInfo info = ToConnectionInfo(location);
    description.SetServerName(info.serverName);
    description.SetServerPort(static_cast<std::int16_t>(info.port));
    description.SetUserName(info.userName);
    description.SetPassword(info.password);
    description.SetProjectName(info.projectName);
    return description;
}

}  // namespace

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
    auto* manager = _GetProjectConnectionManager();
    if (manager == nullptr)
        return result_ = CheckResult::Offline;

    auto& signalClient = manager->GetSignalClient();
    if (!secondary_ && !forceOnline) {
        const auto state = signalClient.GetPresenceService().GetState();
        if (state != SYCB::PresenceState::Unknown && state != SYCB::PresenceState::Online) {
            OV::Logger::Info(LogCategory,
                             u"SYC::ProjectConnection::Check return Offline about presenceState.");
            return result_ = CheckResult::Offline;
        }
    }
    if (!secondary_)
        firstCheck_ = firstCheck;

    try {
        RunSteps(newSession, forceOnline, allowTakeover);
    } catch (...) {
        result_ = ResultOfCurrentException();
    }

    checked_ = true;
    if (result_ == CheckResult::Passed && !signalClient.IsForcedOffline())
        signalClient.GetPresenceService().SetState(SYCB::PresenceState::Online);
    OV::Logger::Info(LogCategory, u"SYC::ProjectConnection::Check result : %",
                     {static_cast<std::int32_t>(result_)});
    return result_;
}

void ProjectConnectionBase::RunSteps(bool newSession, bool forceOnline, bool allowTakeover)
{
    Syncra::Protocol::Session sessionInfo;
    ConnectAndAuthenticateToServer();
    AuthenticateToProject(forceOnline);
    GetCachedProjectInfo();
    CheckProjectAvailability();
    StartAndCheckSession(forceOnline, newSession, allowTakeover, sessionInfo);
    FillCache(sessionInfo);
    CheckProjectState();
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
        OV::Logger::Warning(LogCategory, u"SYC::ProjectConnection::Check: %", {error.GetMessage()});
    } catch (const SYCB::IncopatibleServerVersionException&) {
        return Fail(CheckResult::IncompatibleVersion, HostEvent::IncompatibleVersion);
    } catch (const OV::Exception& error) {
        OV::Logger::Warning(LogCategory, u"SYC::ProjectConnection::Check: %", {error.GetMessage()});
    } catch (const std::exception& error) {
        OV::Logger::Warning(LogCategory, u"SYC::ProjectConnection::Check: %", {error.what()});
    } catch (...) {
        OV::Logger::Warning(LogCategory, u"SYC::ProjectConnection::Check: unknown error");
    }
    return CheckResult::Offline;
}

CheckResult ProjectConnectionBase::Fail(CheckResult result, HostEvent event,
                                        const OV::UniString& text)
{
    result_ = result;
    _GetProjectConnectionManager()->PostEvent(static_cast<std::int32_t>(event), text);
    return result_;
}

Syncra::Client::SyncraClient& ProjectConnectionBase::Client() const
{
    auto* client = _GetSyncraClient();
    if (client == nullptr)
        throw OV::NullReferenceException();
    return *client;
}

CheckResult ProjectConnectionBase::ConnectAndAuthenticateToServer()
{
    result_ = CheckResult::Offline;
    auto* manager = _GetProjectConnectionManager();
    // The user may have changed the password in the location since the last check.
    if (!secondary_ && manager != nullptr)
        projectLocation_ = manager->GetProjectLocation();
    if (_GetSyncraClient() == nullptr && !projectLocation_.IsEmpty()) {
        description_ = DescribeProject(projectLocation_);
        if (secondary_)
            _SetSyncraClient(SYCB::CreateSyncraClient(projectLocation_));
        else if (manager != nullptr)
            _SetSyncraClient(SYCB::CreateSyncraClientOnOpenedProject(
                *manager, description_.GetServerName(),
                static_cast<std::uint16_t>(description_.GetServerPort()),
                description_.GetUserName(), description_.GetPassword()));
    }
    if (_GetSyncraClient() != nullptr)
        result_ = CheckResult::Passed;
    return result_;
}

CheckResult ProjectConnectionBase::AuthenticateToProject(bool /*forceOnline*/)
{
    if (result_ != CheckResult::Passed)
        return result_;
    const OV::UniString& name = description_.GetProjectName();
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
    } catch (const std::exception&) {
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
    const OV::UniString cachedId = cache_->GetProjectId();
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
    const OV::UniString cachedId = newSession ? OV::UniString() : cache_->GetSessionId();
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
    const CacheUpdate update(*cache_);
    cache_->SetProjectConnectionInfo(ToConnectionInfo(projectLocation_));
    cache_->SetProjectId(project_.id);
    cache_->SetCategoryName(project_.category);
    cache_->SetProjectVersion(project_.version);
    cache_->SetProjectBuildNum(project_.build);
    cache_->SetUserId(sessionInfo.userId);
    cache_->SetUserName(sessionInfo.userName);
    cache_->SetSessionId(sessionId_);
    cache_->SetLogonId(sessionInfo.logonId);
    cache_->SetRoleName(sessionInfo.roleName);
    cache_->SetPermissions(sessionInfo.permissions);
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
