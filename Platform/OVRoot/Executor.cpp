#include "OVRoot/Executor.hpp"

#include <utility>

namespace OV {

namespace {

class FunctionRunnable final : public Runnable {
public:
    explicit FunctionRunnable(std::function<void()> work) : work_(std::move(work)) {}
    void Run() override { work_(); }

private:
    std::function<void()> work_;
};

}  // namespace

RunnableTask MakeTask(std::function<void()> work)
{
    return RunnableTask(std::make_shared<FunctionRunnable>(std::move(work)));
}

}  // namespace OV
