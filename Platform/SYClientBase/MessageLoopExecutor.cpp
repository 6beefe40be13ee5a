#include "SYClientBase/MessageLoopExecutor.hpp"

#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/Exception.hpp"
#include "SYClientBase/MessageLoop.hpp"

#include <atomic>
#include <limits>

namespace SYCB {

/// Outlives the executor: what was posted may come up after it.
struct MessageLoopExecutor::State {
    std::atomic<bool> shutdown = false;
    std::atomic<bool> canceled = false;
    std::atomic<std::size_t> open = 0;  ///< tasks that wait or run
};

MessageLoopExecutor::MessageLoopExecutor() : state_(std::make_shared<State>()) {}

MessageLoopExecutor::~MessageLoopExecutor()
{
    MessageLoopExecutor::Cancel();
}

bool MessageLoopExecutor::Execute(OV::RunnableTask task)
{
    if (!task)
        throw OV::NullReferenceException();
    if (state_->shutdown)
        return false;
    // Closed on every way out: run, dropped by Cancel, thrown away with the loop.
    struct Opening {
        std::shared_ptr<State> state;
        explicit Opening(std::shared_ptr<State> s) : state(std::move(s)) { ++state->open; }
        ~Opening() { --state->open; }
    };
    OV::RunnableTask guarded =
        OV::MakeTask([opening = std::make_shared<Opening>(state_), work = std::move(task)] {
            if (!opening->state->canceled)
                work->Run();
        });
    try {
        MessageLoop::Post(std::move(guarded));
        return true;
    } catch (...) {
        // The host's loop is closing: not taken, as by an executor that was shut down.
        OV::Detail::LogHandled("MessageLoop");
        return false;
    }
}

void MessageLoopExecutor::Shutdown()
{
    state_->shutdown = true;
}

void MessageLoopExecutor::Cancel()
{
    state_->canceled = true;
    state_->shutdown = true;
}

bool MessageLoopExecutor::IsShutdown() const
{
    return state_->shutdown;
}

bool MessageLoopExecutor::IsCanceled() const
{
    return state_->canceled;
}

bool MessageLoopExecutor::IsTerminated() const
{
    return state_->shutdown && state_->open == 0;
}

bool MessageLoopExecutor::AwaitTermination(std::uint32_t milliseconds)
{
    return MessageLoop::RunUntil([this] { return IsTerminated(); }, milliseconds);
}

void MessageLoopExecutor::AwaitTermination()
{
    while (!AwaitTermination(std::numeric_limits<std::uint32_t>::max())) {
    }
}

}  // namespace SYCB
