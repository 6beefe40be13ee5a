#pragma once

#include "OVRoot/Executor.hpp"

#include <memory>

namespace OV {

/// One new thread a task, for a request that is made once. The destructor waits for its tasks.
class ThreadedExecutor final : public Executor {
public:
    ThreadedExecutor();
    ~ThreadedExecutor() override;

    bool Execute(RunnableTask task) override;
    void Shutdown() override;
    void Cancel() override;
    [[nodiscard]] bool IsShutdown() const override;
    [[nodiscard]] bool IsCanceled() const override;
    [[nodiscard]] bool IsTerminated() const override;
    bool AwaitTermination(std::uint32_t milliseconds) override;
    void AwaitTermination() override;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace OV
