#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

class SilentResponse final : public AsyncTaskExecuting::Response {
    void RunResponse() override {}
};

std::atomic<UserAsyncTaskExecutingImplementation*> installed{nullptr};

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
    static UserAsyncTaskExecutingImplementation withoutUserInterface;
    UserAsyncTaskExecutingImplementation* const current = installed;
    return current != nullptr ? *current : withoutUserInterface;
}

void SetUserAsyncTaskExecutingImplementation(UserAsyncTaskExecutingImplementation* implementation)
{
    installed = implementation;
}

}  // namespace Syncra::Server::ManagementTool::Core
