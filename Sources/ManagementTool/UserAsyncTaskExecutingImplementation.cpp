#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"

#include "OVRoot/HeldLocks.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

/// Nothing reacts to it, and there may be no message loop to take it.
class SilentResponse final : public AsyncTaskExecuting::Response {
public:
    SilentResponse() { CancelReaction(); }

private:
    void RunResponse() override {}
};

std::atomic<UserAsyncTaskExecutingImplementation*> installed{nullptr};
/// How many WithoutUserInterface the thread has.
thread_local int silences = 0;

}  // namespace

bool UserAsyncTaskExecutingImplementation::ExecuteTask(
    const OV::Ref<AsyncTaskExecuting::Task>& task, OV::Executor* executor, std::uint32_t)
{
    const auto response = OV::MakeRef<SilentResponse>();
    const AsyncTaskExecuting executing(task, response, executor);
    if (!executing.IsStarted())
        return false;
    response->Wait();
    return response->HasSucceeded();
}

short UserAsyncTaskExecutingImplementation::ShowAlert(ErrorType, ObjectType, const OV::UniString*)
{
    return 0;
}

UserAsyncTaskExecutingImplementation& UserAsyncTaskExecutingImplementation::Current()
{
    OV::AssertNoLockHeld("UserAsyncTaskExecutingImplementation");
    static auto& withoutUserInterface = *new UserAsyncTaskExecutingImplementation;
    UserAsyncTaskExecutingImplementation* const current = installed;
    return current != nullptr && silences == 0 ? *current : withoutUserInterface;
}

UserAsyncTaskExecutingImplementation::WithoutUserInterface::WithoutUserInterface() noexcept
{
    ++silences;
}

UserAsyncTaskExecutingImplementation::WithoutUserInterface::~WithoutUserInterface()
{
    --silences;
}

void SetUserAsyncTaskExecutingImplementation(UserAsyncTaskExecutingImplementation* implementation)
{
    installed = implementation;
}

}  // namespace Syncra::Server::ManagementTool::Core
