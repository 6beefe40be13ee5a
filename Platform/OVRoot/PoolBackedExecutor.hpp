#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

namespace OV {

namespace Detail {
class TaskPool;
}

/// What the executors share: a queue, and the threads that serve it. The destructor waits for them.
class SYC_API PoolBackedExecutor : public Executor {
public:
    ~PoolBackedExecutor() override;

    bool Execute(RunnableTask task) override;
    void Shutdown() override;
    void Cancel() override;
    /// As the base says.
    /// @{
    [[nodiscard]] bool IsShutdown() const override;
    [[nodiscard]] bool IsCanceled() const override;
    /// @}
    [[nodiscard]] bool IsTerminated() const override;
    bool AwaitTermination(std::uint32_t milliseconds) override;
    /// As the base says.
    void AwaitTermination() override;

protected:
    /// The pool says how many threads there are.
    explicit PoolBackedExecutor(std::unique_ptr<Detail::TaskPool> pool);

private:
    std::unique_ptr<Detail::TaskPool> pool_;
};

}  // namespace OV
