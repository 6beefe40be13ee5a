#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

namespace SYCB {

/// Runs its tasks on the host's main thread, through the message loop, in the order given. Shutdown
/// and Cancel both take nothing more; Cancel also drops what has not begun. The destructor cancels
/// and waits for nothing: a task that runs is the main thread's own.
class SYC_API MessageLoopExecutor final : public OV::Executor {
public:
    MessageLoopExecutor();
    ~MessageLoopExecutor() override;

    bool Execute(OV::RunnableTask task) override;
    void Shutdown() override;
    void Cancel() override;
    /// As OV::Executor says; safe on any thread.
    /// @{
    [[nodiscard]] bool IsShutdown() const override;
    [[nodiscard]] bool IsCanceled() const override;
    /// @}
    [[nodiscard]] bool IsTerminated() const override;
    /// On the main thread these run the loop while they wait; see MessageLoop::RunUntil.
    bool AwaitTermination(std::uint32_t milliseconds) override;
    /// As long as it takes.
    void AwaitTermination() override;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace SYCB
