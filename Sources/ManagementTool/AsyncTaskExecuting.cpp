#include "ManagementTool/AsyncTaskExecuting.hpp"

#include "ManagementTool/BackgroundExecutors.hpp"
#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/ThreadedExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

/// A holder beside those that there are, or the first one.
OV::Ref<AsyncTaskExecuting::Response> Hold(AsyncTaskExecuting::Response* response)
{
    if (response == nullptr)
        return nullptr;
    auto held = response->weak_from_this().lock();
    return OV::Ref<AsyncTaskExecuting::Response>(
        held ? std::move(held) : std::shared_ptr<AsyncTaskExecuting::Response>(response));
}

}  // namespace

/// Holds a task for the executor. A task that is dropped before it ran, or that throws, fails:
/// otherwise its caller would wait for ever.
class AsyncTaskExecuting::Task::Once final : public OV::Runnable {
public:
    explicit Once(OV::Ref<Task> task) : task_(std::move(task)) {}
    ~Once() override { task_->Finish(false); }
    void Run() override { task_->Run(); }

private:
    OV::Ref<Task> task_;
};

AsyncTaskExecuting::AsyncTaskExecuting(OV::Ref<Task> task, OV::Ref<Response> response,
                                       OV::Executor* executor)
    : response_(std::move(response))
{
    if (!response_)
        throw OV::NullReferenceException();
    task->response_ = response_;
    OV::AssertNoLockHeld("OV::Executor");
    if (executor == nullptr) {
        ownExecutor_ = std::make_unique<OV::ThreadedExecutor>();
        executor = ownExecutor_.get();
    }
    if (!executor->IsCanceled())
        isStarted_ = executor->Execute(OV::MakeRef<Task::Once>(std::move(task)));
}

AsyncTaskExecuting::AsyncTaskExecuting(OV::Ref<Task> task, Response* response,
                                       OV::Executor* executor)
    : AsyncTaskExecuting(std::move(task), Hold(response), executor)
{}

AsyncTaskExecuting::~AsyncTaskExecuting()
{
    // With a response that is there, the worker is past its work and the executor about to end.
    if (ownExecutor_ && response_->IsPending())
        BackgroundExecutors::GetInstance().Keep(std::move(ownExecutor_));
}

void AsyncTaskExecuting::CancelTask()
{
    response_->isCancelled_ = true;
}

void AsyncTaskExecuting::Response::Run()
{
    if (!IsCancelled())
        RunResponse();
}

bool AsyncTaskExecuting::Response::Finish(bool hasSucceeded)
{
    if (hasResult_.exchange(true))
        return false;
    SetResult(hasSucceeded);
    isPending_ = false;
    Notify();
    return true;
}

void AsyncTaskExecuting::Task::Run()
{
    if (!response_)
        throw OV::NullReferenceException();
    Finish(RunTask());
}

/// Nothing that happens after the result is stored changes it: whoever waited goes by it already.
void AsyncTaskExecuting::Task::Finish(bool hasSucceeded) noexcept
{
    SYCB::MessageLoopRunnable delivery(response_);
    // Who waits goes on at once, before the main thread hears of it.
    if (response_->Finish(hasSucceeded) && !response_->IsCancelled())
        OV::Detail::RunLogged(OV::Logger::Library, [&] { delivery.Run(); });
}

}  // namespace Syncra::Server::ManagementTool::Core
