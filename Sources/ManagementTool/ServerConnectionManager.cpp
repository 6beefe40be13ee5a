#include "ManagementTool/ServerConnectionManager.hpp"

#include "OVRoot/Logger.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/ServicePortCache.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

constexpr std::uint32_t StopMilliseconds = 500;

std::uint16_t Unsigned(short port)
{
    return static_cast<std::uint16_t>(port);
}

template <class Work>
void RunPrintingFailures(OV::UniStringView operation, Work&& work)
{
    try {
        work();
    } catch (const OV::Exception& error) {
        OV::Logger::DebugPrint(
            u"Exception occurred during ServerConnectionManager::%s: %s; File: %s line: %d",
            {operation, error.GetMessage(), error.GetSourceName(), error.GetLine()});
    }
}

}  // namespace

ServerConnectionManager& ServerConnectionManager::GetInstance()
{
    static ServerConnectionManager instance;
    return instance;
}

ServerConnectionManager::ServerConnectionManager()
    : userManager_(OV::MakeRef<UserRepositoryManager>(executor_)),
      projectManager_(OV::MakeRef<ProjectRepositoryManager>(executor_))
{}

ServerConnectionManager::~ServerConnectionManager()
{
    StopExecutor();
    SetPassword({});
}

void ServerConnectionManager::SetConnection(const OV::UniString& serverName, short port,
                                            ConnectionType type)
{
    if (type == ConnectionType::NoConnection)
        return;
    {
        const OV::LockGuard guard(lock_);
        connection_.type = type;
        connection_.serverName = serverName;
        connection_.modelPort = port;
        // The former server's port must not serve a reconnection to this one.
        connection_.managementPort = 0;
    }
    RunPrintingFailures(u"SetConnection", [&] {
        FindManagementPort();
        Connect(type);
    });
}

void ServerConnectionManager::ReConnect(ConnectionType type)
{
    if (GetServerName().empty())
        return;
    RunPrintingFailures(u"ReConnect", [&] {
        if (GetManagementPort() == 0)
            FindManagementPort();
        Connect(type == ConnectionType::NoConnection ? GetConnectionType() : type);
    });
}

void ServerConnectionManager::FindManagementPort()
{
    Connection current = Current();
    const OV::SecureWipeGuard<char16_t> wipe(current.password);
    const std::uint16_t port = SYCB::ServicePortCache::GetInstance().GetServicePort(
        current.serverName, Unsigned(current.modelPort), current.userName, current.password,
        SYCB::ServiceType::Management, true);
    const OV::LockGuard guard(lock_);
    // While this thread asked, another one may have gone to another server.
    if (connection_.serverName == current.serverName && connection_.modelPort == current.modelPort)
        connection_.managementPort = static_cast<short>(port);
}

void ServerConnectionManager::Connect(ConnectionType type)
{
    SendServerChangedNotification();
    Connection current = Current();
    const OV::SecureWipeGuard<char16_t> wipe(current.password);
    const auto connect = [&current](const auto& manager) {
        // Whether it is connected shows in its next request.
        (void)manager->SetConnection(current.serverName, current.managementPort, current.userName,
                                     current.password, false);
    };
    if (type != ConnectionType::ProjectConnection)
        connect(userManager_);
    if (type != ConnectionType::UserConnection)
        connect(projectManager_);
}

void ServerConnectionManager::AttachConnection(SYCB::PresenceService* presence)
{
    if (presence != nullptr)
        presence->Attach(*this);
}

void ServerConnectionManager::DetachConnection(SYCB::PresenceService* presence)
{
    if (presence != nullptr)
        presence->Detach(*this);
}

void ServerConnectionManager::_ServiceStateChanged(SYCB::PresenceService&,
                                                   SYCB::PresenceState state)
{
    if (state == SYCB::PresenceState::Online)
        ReConnect(ConnectionType::FullConnection);
}

ServerConnectionManager::Connection ServerConnectionManager::Current() const
{
    const OV::LockGuard guard(lock_);
    return connection_;
}

OV::UniString ServerConnectionManager::GetServerName() const
{
    const OV::LockGuard guard(lock_);
    return connection_.serverName;
}

OV::UniString ServerConnectionManager::GetValidatedServerName() const
{
    const OV::UniString name = GetServerName();
    const auto working = SYCB::ConnectionValidator::GetInstance().GetWorkingConnectionForServer(
        name, Unsigned(GetModelPort()));
    return working && !working->validatedHost.empty() ? working->validatedHost : name;
}

short ServerConnectionManager::GetManagementPort() const
{
    const OV::LockGuard guard(lock_);
    return connection_.managementPort;
}

short ServerConnectionManager::GetModelPort() const
{
    const OV::LockGuard guard(lock_);
    return connection_.modelPort;
}

ConnectionType ServerConnectionManager::GetConnectionType() const
{
    const OV::LockGuard guard(lock_);
    return connection_.type;
}

OV::UniString ServerConnectionManager::GetUserName() const
{
    const OV::LockGuard guard(lock_);
    return connection_.userName;
}

OV::UniString ServerConnectionManager::GetPassword() const
{
    const OV::LockGuard guard(lock_);
    return connection_.password;
}

void ServerConnectionManager::SetUserName(const OV::UniString& name)
{
    const OV::LockGuard guard(lock_);
    connection_.userName = name;
}

void ServerConnectionManager::SetPassword(const OV::UniString& password)
{
    const OV::LockGuard guard(lock_);
    OV::SecureWipe(connection_.password);
    connection_.password = password;
}

void ServerConnectionManager::StopExecutor()
{
    if (executor_.IsTerminated())
        return;
    executor_.Shutdown();
    (void)executor_.AwaitTermination(StopMilliseconds);
    executor_.Cancel();
    executor_.AwaitTermination();
}

void ServerConnectionManager::SendServerChangedNotification()
{
    observers_.Notify([](ServerConnectionObserver& observer) { observer.ServerChanged(); });
}

void ServerConnectionManager::SendServerLostNotification()
{
    observers_.Notify([](ServerConnectionObserver& observer) { observer.ServerLost(); });
}

}  // namespace Syncra::Server::ManagementTool::Core
