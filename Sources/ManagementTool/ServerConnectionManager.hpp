#pragma once

#include "Failure.hpp"
#include "ManagementTool/ConnectionType.hpp"
#include "ManagementTool/ErrorType.hpp"
#include "ManagementTool/ObjectType.hpp"
#include "ManagementTool/ServerConnectionObserver.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/Ref.hpp"
#include "OVRoot/Secret.hpp"
#include "SYClientBase/PresenceService.hpp"

#include <stop_token>
#include <thread>

namespace Syncra::Server::ManagementTool::Core {

class ProjectRepositoryManager;
class UserRepositoryManager;

/// The server that the management tool works against, the credentials used on it, and the two
/// repository managers that talk to it. Failures to connect are not thrown: they go to the debug
/// output, GetLastFailure tells them, and the repository managers' requests tell the user.
///
/// For the main thread, which waits by the strategy of the process; but the presence of an attached
/// service reconnects on the thread that tells it, and shows nothing there. Every single operation
/// is safe beside that one. Ports above 32767 are negative numbers.
class SYC_API ServerConnectionManager final : public SYCB::PresenceServiceObserver,
                                              public OV::EventSource<ServerConnectionObserver> {
public:
    /// The names that callers know them by.
    /// @{
    using ErrorType = Core::ErrorType;
    using ObjectType = Core::ObjectType;
    /// @}

    /// Made on first use. When the process ends, work that was given up ends first and then what
    /// this one's destructor ends; observers of static duration may still detach themselves.
    [[nodiscard]] static ServerConnectionManager& GetInstance();

    /// With repository managers of its own, whose requests run on its executor.
    ServerConnectionManager();
    /// With these managers.
    ServerConnectionManager(OV::Ref<UserRepositoryManager> users,
                            OV::Ref<ProjectRepositoryManager> projects);
    /// Leaves the presence services that are attached, and stops the executor.
    ~ServerConnectionManager() override;
    ServerConnectionManager(const ServerConnectionManager&) = delete;
    ServerConnectionManager& operator=(const ServerConnectionManager&) = delete;

    /// Makes the server the current one: asks its model service at `port` for the management port,
    /// tells the observers, connects the repository managers of `type`; one that is not of it is
    /// disconnected when it served another server. A management service that is not where it was
    /// found before is looked for once more. Nothing happens for NoConnection. Blocks for the
    /// requests, some four, each at most as long as HttpOptions allow: the user ends the wait by
    /// the strategy, an interruption of the calling thread within 100 ms.
    void SetConnection(const OV::UniString& serverName, short port, ConnectionType type);
    /// Connects to the current server again; NoConnection stands for the type of SetConnection.
    /// Nothing happens when there is no current server.
    void ReConnect(ConnectionType type);
    /// How the newest SetConnection or ReConnect ended, that of an attached service among them: no
    /// failure when it connected what it was to connect. A repository that is held from before
    /// stays when a ReConnect fails.
    [[nodiscard]] SYC::Failure GetLastFailure() const;
    /// Reconnects both repositories whenever the service comes online; null is ignored. The service
    /// may go before this object or after it.
    void AttachConnection(SYCB::PresenceService* presence);
    /// Not told any more when it returns; unknown ones and null are ignored.
    void DetachConnection(SYCB::PresenceService* presence);

    /// The current server, as it was given to SetConnection; empty when there is none.
    [[nodiscard]] OV::UniString GetServerName() const;
    /// The name under which the server was reached; its own when none is known.
    [[nodiscard]] OV::UniString GetValidatedServerName() const;
    /// Of the current server, 0 when it is not known.
    [[nodiscard]] short GetManagementPort() const;
    /// Of the current server.
    [[nodiscard]] short GetModelPort() const;
    /// What SetConnection connected.
    [[nodiscard]] ConnectionType GetConnectionType() const;
    /// The login name that is used on the server.
    [[nodiscard]] OV::UniString GetUserName() const;
    /// Clear text; the caller wipes his copy.
    [[nodiscard]] OV::UniString GetPassword() const;
    /// For the next SetConnection or ReConnect.
    /// @{
    void SetUserName(const OV::UniString& name);
    void SetPassword(const OV::Secret& password);
    /// @}

    /// Not to be used after this object is gone.
    [[nodiscard]] const OV::Ref<UserRepositoryManager>& GetUserManager() const noexcept
    {
        return userManager_;
    }
    /// See GetUserManager.
    [[nodiscard]] const OV::Ref<ProjectRepositoryManager>& GetProjectManager() const noexcept
    {
        return projectManager_;
    }

    /// For background work against the server. It takes none after StopExecutor.
    [[nodiscard]] OV::PooledExecutor& GetExecutor() noexcept { return executor_; }
    /// At shutdown: lets the work finish for half a second, then asks it to stop, and waits until
    /// it did. Not for a task of this executor.
    void StopExecutor();

    // Attach and Detach are the event source's.
    /// What the observers of that name are told; the library itself tells only of changes.
    /// @{
    void SendServerChangedNotification();
    void SendServerLostNotification();
    /// @}

private:
    struct Connection {
        OV::UniString serverName;
        short managementPort = 0;
        short modelPort = 0;
        OV::UniString userName;
        OV::Secret password;
        ConnectionType type = ConnectionType::NoConnection;
        /// The one that chose the server.
        std::thread::id mainThread;
    };
    class FindPortTask;
    enum class Outcome { Connected, Unreachable, Failed, GivenUp };
    struct Attached {
        /// For comparing alone: the service may be gone.
        const SYCB::PresenceService* service;
        OV::Subscription subscription;
    };
    using Subscriptions = OV::Array<Attached>;

    void _ServiceStateChanged(SYCB::PresenceService&, SYCB::PresenceState state) override;
    void End();
    template <class Work>
    void NoteFailures(OV::UniStringView operation, Work&& work);
    void SetFailure(const SYC::Failure& failure);
    [[nodiscard]] Connection Current() const;
    void DisconnectAllBut(ConnectionType type);
    void FindManagementPort();
    [[nodiscard]] bool HasManagementServiceMoved();
    void Connect(OV::UniStringView operation, ConnectionType type);
    Outcome ConnectManagers(OV::UniStringView operation, ConnectionType type);

    // Before the managers, which run their requests on it.
    OV::PooledExecutor executor_{1, 1, 300'000};
    const OV::Ref<UserRepositoryManager> userManager_;
    const OV::Ref<ProjectRepositoryManager> projectManager_;
    mutable OV::Lock lock_;
    Connection connection_ OV_GUARDED_BY(lock_);
    SYC::Failure lastFailure_ OV_GUARDED_BY(lock_);
    Subscriptions subscriptions_ OV_GUARDED_BY(lock_);
    std::stop_source ending_;
};

}  // namespace Syncra::Server::ManagementTool::Core
