#include "ManagementTool/AsyncTaskExecuting.hpp"

#include "ManagementTool/BackgroundExecutors.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/ThreadedExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Holds a task for the executor. A task that is dropped before it ran, or that throws, fails:
/// otherwise its caller would wait for ever.
class AsyncTaskExecuting::Task::Once final : public OV::Runnable {
public:
    explicit Once(OV::Ref<Task> task) : task_(std::move(task)) {}
    ~Once() override
    {
        if (isDone_)
            return;
        try {
            task_->Finish(false);
        } catch (const std::exception& error) {
            OV::Logger::Error("SYClient", u"A dropped task is not reported: %", {error.what()});
        }
    }
    void Run() override
    {
        task_->Run();
        isDone_ = true;
    }

private:
    OV::Ref<Task> task_;
    bool isDone_ = false;
};

AsyncTaskExecuting::AsyncTaskExecuting(OV::Ref<Task> task, OV::Ref<Response> response,
                                       OV::Executor* executor)
    : response_(std::move(response))
{
    if (!response_)
        throw OV::NullReferenceException();
    task->response_ = response_;
    if (executor == nullptr) {
        ownExecutor_ = std::make_unique<OV::ThreadedExecutor>();
        executor = ownExecutor_.get();
    }
    if (!executor->IsCanceled())
        isStarted_ = executor->Execute(OV::MakeRef<Task::Once>(std::move(task)));
}

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

void AsyncTaskExecuting::Response::Finish(bool hasSucceeded)
{
    SetResult(hasSucceeded);
    isPending_ = false;
    Notify();
}

void AsyncTaskExecuting::Task::Run()
{
    if (!response_)
        throw OV::NullReferenceException();
    Finish(RunTask());
}

void AsyncTaskExecuting::Task::Finish(bool hasSucceeded)
{
    SYCB::MessageLoopRunnable delivery(response_);
    // Who waits goes on at once, before the main thread hears of it.
    response_->Finish(hasSucceeded);
    delivery.Run();
}

}  // namespace Syncra::Server::ManagementTool::Core
