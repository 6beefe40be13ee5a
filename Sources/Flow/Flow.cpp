#include "Flow/Flow.hpp"

#include "Flow/Detail/PostedEnd.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Thread.hpp"

#include <utility>

namespace SYC {

namespace {

constexpr const char16_t* What = u"a flow";

std::exception_ptr Cancelled()
{
    return std::make_exception_ptr(OV::InterruptedException());
}

}  // namespace

/// One start and its end. The flow is for the home executor's thread alone.
struct Flow::Run {
    explicit Run(Flow* owner) : flow(owner) {}

    std::stop_source stop;
    Flow* flow;  ///< null once nobody wants to hear of it
};

Flow::~Flow()
{
    Begin(nullptr);
}

void Flow::Begin(std::shared_ptr<Run> run)
{
    if (run_) {
        run_->flow = nullptr;
        run_->stop.request_stop();
    }
    run_ = std::move(run);
}

void Flow::Start(Work work)
{
    const auto run = std::make_shared<Run>(this);
    OV::Executor& home = executors_.home;
    const auto end = [run](const Result& result) {
        if (run->flow != nullptr)
            run->flow->End(result);
    };
    const auto ending = std::make_shared<PostedEnd>(home, What, [end] {
        end({{}, DescribeException(Cancelled())});
    });
    const Report report = [&home, run](const OV::UniString& progress) {
        PostHome(home, What, [run, progress] {
            if (run->flow != nullptr)
                run->flow->SetProgress(progress);
        });
    };
    Begin(run);
    state_ = FlowState::Running;
    failure_ = {};
    progress_.clear();
    (void)executors_.worker.Execute(
        OV::MakeTask([run, work = std::move(work), end, report, ending]() mutable {
            Result result;
            try {
                // Cancel ends it, and so does whoever cancels the executor.
                const std::stop_callback cancelled(OV::Thread::CurrentToken(),
                                                   [&run] { run->stop.request_stop(); });
                const OV::InterruptionScope scope(run->stop.get_token());
                OV::Thread::ThrowIfInterrupted();
                result = work(report);
            } catch (...) {
                result.failure = DescribeException();
            }
            work = nullptr;
            ending->Tell([end, result = std::move(result)] { end(result); });
        }));
    NotifyChanged();
}

void Flow::Cancel()
{
    if (run_)
        run_->stop.request_stop();
    else if (IsRunning())
        _Cancelled();
}

void Flow::GoOn(const OV::UniString& progress)
{
    state_ = FlowState::Running;
    progress_ = progress;
}

void Flow::Reset()
{
    Begin(nullptr);
    progress_.clear();
    failure_ = {};
    state_ = FlowState::Idle;
    NotifyChanged();
}

void Flow::End(const Result& result)
{
    run_ = nullptr;
    progress_.clear();
    failure_ = result.failure;
    state_ = !failure_                                 ? FlowState::Succeeded
             : failure_.kind == FailureKind::Cancelled ? FlowState::Cancelled
                                                       : FlowState::Failed;
    if (result.takeOver)
        result.takeOver();
    NotifyChanged();
}

void Flow::SetProgress(const OV::UniString& progress)
{
    progress_ = progress;
    NotifyChanged();
}

void Flow::NotifyChanged()
{
    observers_.Notify([](FlowObserver& observer) { observer._FlowChanged(); });
}

}  // namespace SYC
