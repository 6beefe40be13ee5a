#pragma once

#include "ManagementTool/ObjectType.hpp"
#include "ManagementTool/RequestFailure.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Ref.hpp"
#include "OVRoot/Secret.hpp"

#include <optional>

namespace OV {
class Executor;
}

namespace Syncra::Server::ManagementTool::Core {

/// What is done with the records of one kind.
enum class RecordOperation { List, Get, Find, Insert, Update, Delete };

template <class Repository, class Record>
struct RecordKind;
template <class Repository>
class RepositoryTask;
template <class Repository>
class TaskMaker;

/// What an operation does with its failures.
struct FailureManner {
    /// Named in the alert.
    ObjectType object = ObjectType::None;
    const OV::UniString* name = nullptr;  ///< of the object, for the alert; null when it has none
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
/// OV::NullReferenceException. A request takes at most as long as HttpOptions allow; the user ends
/// the wait for it by the strategy, an interruption of the calling thread within 100 ms.
template <class Repository>
class SYC_API ConnectedRepositoryManager {
public:
    /// Base of the tasks of all operations.
    using ParentTask = RepositoryTask<Repository>;
    class SetConnectionTask;
    /// The task of an operation on records; what a host has of it is its name.
    template <RecordOperation operation, class Record>
    class SYC_LOCAL RecordTask;

    virtual ~ConnectedRepositoryManager();
    ConnectedRepositoryManager(const ConnectedRepositoryManager&) = delete;
    ConnectedRepositoryManager& operator=(const ConnectedRepositoryManager&) = delete;

    /// Connects to the repository of that server and returns whether it is connected. Leaves the
    /// repository of another server or login at once, connected or not; one of the same serves
    /// until the new one is there. The port is the management service's, above 32767 a negative
    /// number. Called on the thread that changes the server or brings it back, and waits by the
    /// strategy of that thread; with `mayAsk` it also tells a failure and may try again.
    virtual bool SetConnection(const OV::UniString& serverName, short managementPort,
                               const OV::UniString& userName, const OV::Secret& password,
                               bool mayAsk);
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
    /// Makes the task of one attempt.
    using MakeTask = TaskMaker<Repository>;
    /// The records of one kind in this repository.
    template <class Record>
    using Kind = RecordKind<Repository, Record>;

    /// The executor must outlive the manager and run one task at a time.
    explicit ConnectedRepositoryManager(OV::Executor& executor) : executor_(executor) {}

    /// The operations on the records of a kind.
    template <class Record>
    bool List(const Kind<Record>& kind, OV::Array<Record>& records);
    /// The one of that identifier.
    template <class Record>
    bool Get(const Kind<Record>& kind, const OV::UniString& id, Record& record);
    /// The one of that name.
    template <class Record>
    bool Find(const Kind<Record>& kind, const OV::UniString& name, Record& record);
    /// Adds it; `record` becomes as the server keeps it.
    template <class Record>
    bool Insert(const Kind<Record>& kind, Record& record);
    /// Replaces it; `record` becomes as the server keeps it.
    template <class Record>
    bool Update(const Kind<Record>& kind, Record& record);
    /// Deletes the one of its identifier.
    template <class Record>
    bool Delete(const Kind<Record>& kind, const Record& record);

    /// An operation that brings `result`: a function of the repository, which owns its arguments.
    template <class TaskClass, class Result, class Step>
    bool Read(const FailureManner& manner, Result& result, const Step& step);
    /// One that changes the server and brings nothing.
    template <class TaskClass, class Step>
    bool Change(const FailureManner& manner, const Step& step);

    /// Runs tasks, a new one for each attempt, until one succeeds or the user gives up.
    bool Perform(const FailureManner& manner, const MakeTask& make);
    /// One attempt, which tells nothing; how it failed, or nothing after a success.
    std::optional<RequestFailure> Attempt(const MakeTask& make);

    /// The repository that requests go to from now on; empty for none. Safe on any thread.
    void Hold(OV::Ref<Repository> repository);
    /// The repository that requests go to; empty when there is none. Safe on any thread.
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
    mutable OV::Lock lock_;
    OV::Ref<Repository> repository_ OV_GUARDED_BY(lock_);
    Connection connection_ OV_GUARDED_BY(lock_);
    std::uint64_t connections_ OV_GUARDED_BY(lock_) = 0;
    RequestFailure lastFailure_ OV_GUARDED_BY(lock_);
    /// How the newest attempt to connect ended; nothing when it did not fail.
    std::optional<RequestFailure> connectionFailure_ OV_GUARDED_BY(lock_);
};

}  // namespace Syncra::Server::ManagementTool::Core
