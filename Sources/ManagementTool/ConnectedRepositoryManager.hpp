#pragma once

#include "ManagementTool/RepositoryManager.hpp"
#include "ManagementTool/RepositoryTask.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraServerManagement/RepositoryProperties.hpp"

#include <functional>
#include <optional>

namespace Syncra::Server::ManagementTool::Core {

/// What an operation does with its failures.
struct FailureManner {
    /// Named in the alert.
    ObjectType object = ObjectType::None;
    const OV::UniString* name = nullptr;
    /// An object that is gone is what the operation was to bring about.
    bool succeedsWhenGone = false;
    /// That nothing was found is an answer of its own, not told.
    bool isSilentWhenNotFound = false;
};

/// What the managers of a server's repositories share: the repository with the connection that it
/// came from, and the way of each operation. An operation runs one request on a worker while the
/// calling thread, the main one, waits by the strategy of the process; the strategy tells its
/// failure, and as long as the user answers "Try again", it is repeated on a new connection.
///
/// Operations return whether they succeeded and leave their reference arguments as they are when
/// not. After a connection that failed they fail with CannotConnect, as they do when it is lost
/// later, so that the user can try again; a manager that was never connected throws
/// OV::NullReferenceException.
template <class Repository>
class SYC_API ConnectedRepositoryManager : public RepositoryManager {
public:
    /// Base of the tasks of all operations.
    using ParentTask = RepositoryTask<Repository>;
    class SetConnectionTask;

    ~ConnectedRepositoryManager() override;

    /// Leaves the repository of another server or login at once, connected or not; one of the same
    /// serves until the new one is there. Waits by the strategy; with `mayAsk` it also tells a
    /// failure and may try again.
    bool SetConnection(const OV::UniString& serverName, short managementPort,
                       const OV::UniString& userName, const OV::Secret& password,
                       bool mayAsk) override;
    /// Connects anew as the last SetConnection did, beside requests that are under way. When that
    /// fails, the repository stays as it is. Waits by the strategy and tells nothing.
    bool ResetConnection();
    /// As if SetConnection had never been called.
    void Disconnect();
    /// Whether a repository is held. Safe on any thread.
    [[nodiscard]] bool IsConnected() const;
    /// How the last request ended; NoError after an answer and when the user cancelled.
    [[nodiscard]] RequestFailure GetLastFailure() const;

protected:
    using Factory = std::unique_ptr<Repository> (*)(OV::UniStringView factoryName,
                                                    const Management::Properties& properties);
    using MakeTask = std::function<OV::Ref<ParentTask>(const OV::Ref<Repository>&)>;

    /// The executor must outlive the manager and run one task at a time.
    ConnectedRepositoryManager(OV::Executor& executor, Factory factory)
        : executor_(executor), factory_(factory)
    {}

    /// Runs tasks, a new one for each attempt, until one succeeds or the user gives up.
    bool Perform(const FailureManner& manner, const MakeTask& make);
    /// One attempt, which tells nothing; how it failed, or nothing after a success.
    std::optional<RequestFailure> Attempt(const MakeTask& make);

    /// An operation that brings `result`.
    template <class TaskClass, class Result, class... Arguments>
    bool Read(const FailureManner& manner, Result& result, const Arguments&... arguments)
    {
        OV::Ref<TaskClass> task;
        const bool succeeded = Perform(manner, [&](const OV::Ref<Repository>& repository) {
            return task = OV::MakeRef<TaskClass>(repository, arguments...);
        });
        if (succeeded)
            result = std::move(task->result);
        return succeeded;
    }
    /// An operation that changes the server and brings nothing.
    template <class TaskClass, class... Arguments>
    bool Change(const FailureManner& manner, const Arguments&... arguments)
    {
        return Perform(manner, [&](const OV::Ref<Repository>& repository) {
            return OV::MakeRef<TaskClass>(repository, arguments...);
        });
    }
    /// An operation that takes something away.
    template <class TaskClass, class... Arguments>
    bool Remove(const Arguments&... arguments)
    {
        FailureManner manner;
        manner.succeedsWhenGone = true;
        return Change<TaskClass>(manner, arguments...);
    }

    void Hold(OV::Ref<Repository> repository);
    [[nodiscard]] OV::Ref<Repository> Held() const;

private:
    struct Connection {
        OV::UniString serverName;
        short managementPort = 0;
        OV::UniString userName;
        OV::Secret password;
        /// Which call of SetConnection it came with; 0 for none.
        std::uint64_t number = 0;
    };

    [[nodiscard]] OV::Ref<SetConnectionTask> MakeConnectionTask(std::uint64_t& number) const;
    std::optional<RequestFailure> Run(const OV::Ref<ParentTask>& task, OV::Executor* executor);
    RequestFailure FailWithoutRepository();
    [[nodiscard]] OV::Ref<Repository> Exchange(OV::Ref<Repository> repository) OV_REQUIRES(lock_)
    {
        return std::exchange(repository_, std::move(repository));
    }

    OV::Executor& executor_;
    const Factory factory_;
    mutable OV::Lock lock_;
    OV::Ref<Repository> repository_ OV_GUARDED_BY(lock_);
    Connection connection_ OV_GUARDED_BY(lock_);
    std::uint64_t connections_ OV_GUARDED_BY(lock_) = 0;
    RequestFailure lastFailure_ OV_GUARDED_BY(lock_);
    /// How the newest attempt to connect ended; nothing when it did not fail.
    std::optional<RequestFailure> connectionFailure_ OV_GUARDED_BY(lock_);
};

}  // namespace Syncra::Server::ManagementTool::Core
