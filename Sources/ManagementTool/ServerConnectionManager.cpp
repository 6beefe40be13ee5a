#include "ManagementTool/ServerConnectionManager.hpp"

#include "ManagementTool/BackgroundExecutors.hpp"
#include "ManagementTool/ProjectRepositoryManager.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/ProcessEnd.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYCommunication/HttpClient.hpp"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Syncra::Server::ManagementTool::Core {

namespace {

using Strategy = UserAsyncTaskExecutingImplementation;

constexpr std::uint32_t StopMilliseconds = 500;

std::uint16_t Unsigned(short port)
{
    return static_cast<std::uint16_t>(port);
}

void PrintFailure(OV::UniStringView operation, const OV::UniString& message,
                  OV::StringView sourceName, int line)
{
    OV::Logger::DebugPrint(
        u"Exception occurred during ServerConnectionManager::%s: %s; File: %s line: %d",
        {operation, message, sourceName, line});
}

}  // namespace

/// Asks the model service where the management service listens.
class ServerConnectionManager::FindPortTask final : public AsyncTaskExecuting::Task {
public:
    explicit FindPortTask(Connection connection) : connection_(std::move(connection)) {}

    /// For who waited for the end: the port, or what the look-up threw. InterruptedException when
    /// the user did not wait for it.
    [[nodiscard]] std::uint16_t GetPort() const
    {
        const OV::LockGuard guard(lock_);
        if (failure_)
            std::rethrow_exception(failure_);
        if (!port_)
            throw OV::InterruptedException();
        return *port_;
    }

private:
    bool RunTask() override
    {
        std::optional<std::uint16_t> port;
        std::exception_ptr failure;
        try {
            port = SYCB::ServicePortCache::GetInstance().GetServicePort(
                connection_.serverName, Unsigned(connection_.modelPort), connection_.userName,
                connection_.password, SYCB::ServiceType::Management, true);
        } catch (...) {
            failure = std::current_exception();
        }
        const OV::LockGuard guard(lock_);
        port_ = port;
        failure_ = failure;
        return port.has_value();
    }

    const Connection connection_;
    mutable OV::Lock lock_;
    std::optional<std::uint16_t> port_ OV_GUARDED_BY(lock_);
    std::exception_ptr failure_ OV_GUARDED_BY(lock_);
};

ServerConnectionManager& ServerConnectionManager::GetInstance()
{
    static auto& instance = *new ServerConnectionManager;
    Communication::PrepareTransport();
    [[maybe_unused]] static const bool ends = OV::AtProcessEnd([] {
        // Work that was given up may still use the manager, and the manager's own work may give
        // some up while it ends.
        BackgroundExecutors::GetInstance().End();
        instance.End();
        BackgroundExecutors::GetInstance().End();
    });
    return instance;
}

ServerConnectionManager::ServerConnectionManager()
    : userManager_(OV::MakeRef<UserRepositoryManager>(executor_)),
      projectManager_(OV::MakeRef<ProjectRepositoryManager>(executor_))
{}

ServerConnectionManager::ServerConnectionManager(OV::Ref<UserRepositoryManager> users,
                                                 OV::Ref<ProjectRepositoryManager> projects)
    : userManager_(std::move(users)), projectManager_(std::move(projects))
{}

ServerConnectionManager::~ServerConnectionManager()
{
    End();
}

void ServerConnectionManager::End()
{
    ending_.request_stop();
    Subscriptions ending;
    {
        const OV::LockGuard guard(lock_);
        ending = std::exchange(subscriptions_, {});
    }
    // Without the lock, which a notification under way may want.
    ending.clear();
    StopExecutor();
    SetPassword({});
}

template <class Work>
void ServerConnectionManager::NoteFailures(OV::UniStringView operation, Work&& work)
{
    SetFailure({});
    try {
        work();
    } catch (const OV::Exception& error) {
        PrintFailure(operation, error.GetMessage(), error.GetSourceName(), error.GetLine());
        SetFailure(SYC::DescribeException());
    }
}

void ServerConnectionManager::SetFailure(const SYC::Failure& failure)
{
    const OV::LockGuard guard(lock_);
    lastFailure_ = failure;
}

SYC::Failure ServerConnectionManager::GetLastFailure() const
{
    const OV::LockGuard guard(lock_);
    return lastFailure_;
}

void ServerConnectionManager::SetConnection(const OV::UniString& serverName, short port,
                                            ConnectionType type)
{
    if (type == ConnectionType::NoConnection)
        return;
    bool isAnother = false;
    {
        const OV::LockGuard guard(lock_);
        isAnother = connection_.serverName != serverName || connection_.modelPort != port;
        connection_.type = type;
        connection_.serverName = serverName;
        connection_.modelPort = port;
        // The former server's port must not serve a reconnection to this one.
        connection_.managementPort = 0;
        connection_.mainThread = std::this_thread::get_id();
    }
    NoteFailures(u"SetConnection", [&] {
        if (isAnother)
            DisconnectAllBut(type);
        FindManagementPort();
        Connect(u"SetConnection", type);
    });
}

void ServerConnectionManager::ReConnect(ConnectionType type)
{
    if (GetServerName().empty())
        return;
    NoteFailures(u"ReConnect", [&] {
        if (GetManagementPort() == 0)
            FindManagementPort();
        Connect(u"ReConnect", type == ConnectionType::NoConnection ? GetConnectionType() : type);
    });
}

/// A manager that stayed at the former server would change that one under the name of this one.
void ServerConnectionManager::DisconnectAllBut(ConnectionType type)
{
    if (type == ConnectionType::ProjectConnection && userManager_)
        userManager_->Disconnect();
    if (type == ConnectionType::UserConnection && projectManager_)
        projectManager_->Disconnect();
}

void ServerConnectionManager::FindManagementPort()
{
    const Connection current = Current();
    const auto task = OV::MakeRef<FindPortTask>(current);
    (void)Strategy::Current().ExecuteTask(task, nullptr, Strategy::UsualDelayMilliseconds);
    const auto port = static_cast<short>(task->GetPort());
    const OV::LockGuard guard(lock_);
    // While this thread asked, another one may have gone to another server.
    if (connection_.serverName == current.serverName && connection_.modelPort == current.modelPort)
        connection_.managementPort = port;
}

/// Whether a service that was not reached listens elsewhere than was known.
bool ServerConnectionManager::HasManagementServiceMoved()
{
    const short former = GetManagementPort();
    if (former == 0)
        return false;
    SYCB::ServicePortCache::GetInstance().Forget(GetServerName(), Unsigned(GetModelPort()));
    FindManagementPort();
    return GetManagementPort() != former;
}

void ServerConnectionManager::Connect(OV::UniStringView operation, ConnectionType type)
{
    SendServerChangedNotification();
    if (ConnectManagers(operation, type) == Outcome::Unreachable && HasManagementServiceMoved())
        ConnectManagers(operation, type);
}

/// What came of the first manager that was not connected; the others are tried all the same, but
/// not after one that the user gave up.
auto ServerConnectionManager::ConnectManagers(OV::UniStringView operation, ConnectionType type)
    -> Outcome
{
    const Connection current = Current();
    SetFailure({});
    const auto connect = [&](const auto& manager) {
        if (manager->SetConnection(current.serverName, current.managementPort, current.userName,
                                   current.password, false))
            return Outcome::Connected;
        const RequestFailure failure = manager->GetLastFailure();
        if (failure.type == ErrorType::NoError) {
            SetFailure(SYC::MakeFailure(SYC::FailureKind::Cancelled));
            return Outcome::GivenUp;
        }
        if (!GetLastFailure())
            SetFailure(failure);
        PrintFailure(operation, failure.sentence, failure.sourceName, failure.line);
        return failure.type == ErrorType::CannotConnect ? Outcome::Unreachable : Outcome::Failed;
    };
    auto outcome = Outcome::Connected;
    if (type != ConnectionType::ProjectConnection)
        outcome = connect(userManager_);
    if (type == ConnectionType::UserConnection || outcome == Outcome::GivenUp)
        return outcome;
    const auto ofProjects = connect(projectManager_);
    return outcome == Outcome::Connected ? ofProjects : outcome;
}

void ServerConnectionManager::AttachConnection(SYCB::PresenceService* presence)
{
    if (presence == nullptr)
        return;
    DetachConnection(presence);
    Attached attached{presence, presence->Subscribe(*this)};
    const OV::LockGuard guard(lock_);
    std::erase_if(subscriptions_,
                  [](const Attached& each) { return !each.subscription.IsStanding(); });
    subscriptions_.push_back(std::move(attached));
}

void ServerConnectionManager::DetachConnection(SYCB::PresenceService* presence)
{
    if (presence == nullptr)
        return;
    Subscriptions ending;  // ended when the lock is free again: a notification may want it
    const OV::LockGuard guard(lock_);
    const auto first =
        std::partition(subscriptions_.begin(), subscriptions_.end(),
                       [presence](const Attached& each) { return each.service != presence; });
    std::move(first, subscriptions_.end(), std::back_inserter(ending));
    subscriptions_.erase(first, subscriptions_.end());
}

void ServerConnectionManager::_ServiceStateChanged(SYCB::PresenceService&,
                                                   SYCB::PresenceState state)
{
    if (state != SYCB::PresenceState::Online)
        return;
    std::optional<Strategy::WithoutUserInterface> silence;
    if (Current().mainThread != std::this_thread::get_id())
        silence.emplace();
    // Whoever ends this object waits for this call, and neither he nor who interrupts the thread
    // should wait for a silent server.
    std::stop_source stop;
    const auto forward = [&stop] { stop.request_stop(); };
    const std::stop_callback interrupted(OV::Thread::CurrentToken(), forward);
    const std::stop_callback ending(ending_.get_token(), forward);
    const OV::InterruptionScope scope(stop.get_token());
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
    return SYCB::ConnectionValidator::GetInstance().GetWorkingHost(GetServerName(),
                                                                   Unsigned(GetModelPort()));
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
    return OV::UniString(connection_.password.View());
}

void ServerConnectionManager::SetUserName(const OV::UniString& name)
{
    const OV::LockGuard guard(lock_);
    connection_.userName = name;
}

void ServerConnectionManager::SetPassword(const OV::Secret& password)
{
    const OV::LockGuard guard(lock_);
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
    Notify([](ServerConnectionObserver& observer) { observer.ServerChanged(); });
}

void ServerConnectionManager::SendServerLostNotification()
{
    Notify([](ServerConnectionObserver& observer) { observer.ServerLost(); });
}

}  // namespace Syncra::Server::ManagementTool::Core
