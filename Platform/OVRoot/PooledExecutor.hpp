#pragma once

#include "OVRoot/Executor.hpp"

#include <memory>

namespace OV {

/// A queue served by threads that come with the first task and go after a time without work. With one
/// thread, tasks run in the order in which they were given. The destructor cancels and waits.
class PooledExecutor final : public Executor {
public:
    /// `coreThreads` are kept for `keepAliveMilliseconds` without work; up to `maximumThreads` run at once.
    PooledExecutor(std::uint32_t coreThreads, std::uint32_t maximumThreads,
                   std::uint32_t keepAliveMilliseconds);
    ~PooledExecutor() override;

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
