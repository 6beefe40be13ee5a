#include "ManagementTool/ConnectedRepositoryManager.hpp"

#include "ManagementTool/Detail/RepositoryTask.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"
#include "SyncraServerManagement/UserRepository.hpp"
#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

using Strategy = UserAsyncTaskExecutingImplementation;

/// Of the kind of the one that is held.
auto Create(const OV::Ref<Management::UserRepository>&, const Management::Properties& properties)
{
    return Management::CreateUserRepository(u"WBEM", properties);
}

auto Create(const OV::Ref<Management::ProjectRepository>&, const Management::Properties& properties)
{
    return Management::CreateProjectRepository(u"WBEM", properties);
}

bool IsGone(ErrorType error)
{
    return error == ErrorType::ObjectRemoved || error == ErrorType::ObjectMissing;
}

}  // namespace

template <class Repository>
class ConnectedRepositoryManager<Repository>::SetConnectionTask final : public ParentTask {
public:
    explicit SetConnectionTask(const Connection& connection)
        : ParentTask(nullptr), connection_(connection)
    {}

private:
    void RunStep(OV::Ref<Repository>& repository) override
    {
        try {
            auto properties = Management::MakeProperties(
                connection_.serverName, static_cast<std::uint16_t>(connection_.managementPort),
                connection_.userName, connection_.password);
            const OV::SecureWipeGuard<char16_t> wipe(
                properties[Management::PropertyNames::UserRepositoryCredentials]);
            repository = Create(repository, properties);
        } catch (const OV::Exception&) {
            // A server that does not answer is told like one that is lost later.
            Management::RethrowAsRepositoryException();
        }
    }

    const Connection connection_;
};

template <class Repository>
ConnectedRepositoryManager<Repository>::~ConnectedRepositoryManager() = default;

template <class Repository>
bool ConnectedRepositoryManager<Repository>::SetConnection(const OV::UniString& serverName,
                                                           short managementPort,
                                                           const OV::UniString& userName,
                                                           const OV::Secret& password, bool mayAsk)
{
    {
        OV::Ref<Repository> former;  // released when the lock is free again
        const OV::LockGuard guard(lock_);
        if (connection_.serverName != serverName || connection_.managementPort != managementPort ||
            connection_.userName != userName || connection_.password != password) {
            former = Exchange(nullptr);
            connectionFailure_.reset();
        }
        connection_ = {serverName, managementPort, userName, password, ++connections_};
    }
    while (!ResetConnection())
        if (!mayAsk || Strategy::Current().ShowAlert(GetLastFailure().type, ObjectType::None,
                                                     nullptr) != Strategy::TryAgain)
            return false;
    return true;
}

template <class Repository>
bool ConnectedRepositoryManager<Repository>::ResetConnection()
{
    return LoggingWhatEscapes([&] {
        std::uint64_t number = 0;
        const auto task = MakeConnectionTask(number);
        if (number == 0)
            return false;
        // Not on the shared executor, which a request that was given up may hold until its server
        // has been silent for long enough.
        const auto failure = Run(task, nullptr);
        OV::Ref<Repository> former;  // released when the lock is free again
        const OV::LockGuard guard(lock_);
        // While this thread connected, another one may have gone to another server.
        if (connection_.number != number)
            return false;
        connectionFailure_ = failure;
        if (failure)
            return false;
        former = Exchange(task->GetRepository());
        return true;
    });
}

template <class Repository>
void ConnectedRepositoryManager<Repository>::Disconnect()
{
    OV::Ref<Repository> former;  // released when the lock is free again
    const OV::LockGuard guard(lock_);
    former = Exchange(nullptr);
    connection_ = {};
    connectionFailure_.reset();
}

template <class Repository>
auto ConnectedRepositoryManager<Repository>::MakeConnectionTask(std::uint64_t& number) const
    -> OV::Ref<SetConnectionTask>
{
    const OV::LockGuard guard(lock_);
    number = connection_.number;
    return OV::MakeRef<SetConnectionTask>(connection_);
}

template <class Repository>
std::optional<RequestFailure>
ConnectedRepositoryManager<Repository>::Run(const OV::Ref<ParentTask>& task, OV::Executor* executor)
{
    std::optional<RequestFailure> failure;
    if (!Strategy::Current().ExecuteTask(task, executor, Strategy::UsualDelayMilliseconds))
        failure = task->GetFailure();
    const OV::LockGuard guard(lock_);
    lastFailure_ = failure.value_or(RequestFailure());
    return failure;
}

template <class Repository>
RequestFailure ConnectedRepositoryManager<Repository>::FailWithoutRepository()
{
    const OV::LockGuard guard(lock_);
    if (!connectionFailure_)
        throw OV::NullReferenceException();
    lastFailure_ = *connectionFailure_;
    lastFailure_.type = ErrorType::CannotConnect;
    return lastFailure_;
}

template <class Repository>
std::optional<RequestFailure> ConnectedRepositoryManager<Repository>::Attempt(const MakeTask& make)
{
    return LoggingWhatEscapes([&]() -> std::optional<RequestFailure> {
        const auto repository = Held();
        if (!repository)
            return FailWithoutRepository();
        return Run(make(repository), &executor_);
    });
}

template <class Repository>
bool ConnectedRepositoryManager<Repository>::Perform(const FailureManner& manner,
                                                     const MakeTask& make)
{
    while (const auto failure = Attempt(make)) {
        if (manner.succeedsWhenGone && IsGone(failure->type))
            return true;
        if (manner.isSilentWhenNotFound && failure->type == ErrorType::ObjectRemoved)
            return false;
        const short answer =
            Strategy::Current().ShowAlert(failure->type, manner.object, manner.name);
        if (answer != Strategy::TryAgain || !ResetConnection())
            return false;
    }
    return true;
}

template <class Repository>
bool ConnectedRepositoryManager<Repository>::IsConnected() const
{
    return static_cast<bool>(Held());
}

template <class Repository>
RequestFailure ConnectedRepositoryManager<Repository>::GetLastFailure() const
{
    const OV::LockGuard guard(lock_);
    return lastFailure_;
}

template <class Repository>
void ConnectedRepositoryManager<Repository>::Hold(OV::Ref<Repository> repository)
{
    OV::Ref<Repository> former;  // released when the lock is free again
    const OV::LockGuard guard(lock_);
    former = Exchange(std::move(repository));
    connectionFailure_.reset();
}

template <class Repository>
OV::Ref<Repository> ConnectedRepositoryManager<Repository>::Held() const
{
    const OV::LockGuard guard(lock_);
    return repository_;
}

template class ConnectedRepositoryManager<Management::UserRepository>;
template class ConnectedRepositoryManager<Management::ProjectRepository>;

}  // namespace Syncra::Server::ManagementTool::Core
