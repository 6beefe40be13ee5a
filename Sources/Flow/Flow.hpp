#pragma once

#include "Failure.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"

#include <functional>
#include <memory>
#include <stop_token>

namespace OV {
class Executor;
}

namespace SYC {

/// How far a flow has come.
enum class FlowState : std::int32_t {
    Idle,       ///< nothing was started yet
    Running,    ///< GetProgress says with what
    Succeeded,  ///< what was started is done as a whole
    Failed,     ///< GetFailure says why; everything is as it was before
    Cancelled,  ///< likewise, because somebody asked for it
};

/// Hears of a flow, on its home executor.
class SYC_API FlowObserver : public OV::ObserverBase {
public:
    /// State, progress or contents of the flow became others.
    virtual void _FlowChanged() = 0;

protected:
    ~FlowObserver() = default;
};

/// Where a flow works, and where it tells its observers. Both outlive it.
struct FlowExecutors {
    /// Where requests run; one thread or more.
    OV::Executor& worker;
    /// Runs its tasks on one thread, on which the flow is used.
    OV::Executor& home;
};

/// Something a user does with a server and projects that takes a while, without a window: it works
/// on a worker's thread and tells on the home executor. All calls are made on the thread of that
/// executor, and none of them waits. Dialogs and commands stand upon flows.
class SYC_API Flow {
public:
    /// What is under way is asked to stop, and its end is told to nobody.
    virtual ~Flow();
    Flow(const Flow&) = delete;
    Flow& operator=(const Flow&) = delete;

    /// Of the last run.
    [[nodiscard]] FlowState GetState() const noexcept { return state_; }
    /// Whether something is under way.
    [[nodiscard]] bool IsRunning() const noexcept { return state_ == FlowState::Running; }
    /// Why the last run failed or was cancelled; none otherwise.
    [[nodiscard]] const Failure& GetFailure() const noexcept { return failure_; }
    /// What is being done, for a line that shows it; empty while nothing is.
    [[nodiscard]] const OV::UniString& GetProgress() const noexcept { return progress_; }

    /// Asks what is under way to stop; it does within 100 ms, and its end is told. What is done by
    /// then stays done, and the flow has succeeded.
    void Cancel();

    /// Attached for as long as the answer lives.
    [[nodiscard]] OV::Subscription Subscribe(FlowObserver& observer)
    {
        return observers_.Subscribe(observer);
    }

protected:
    /// Takes what a piece of work found over into the flow, on the home executor.
    using TakeOver = std::function<void()>;
    /// Called by the work for each step.
    using Report = std::function<void(const OV::UniString& progress)>;
    /// What came of the work. One that failed may have found something all the same.
    struct Result {
        TakeOver takeOver;  ///< may be empty
        Failure failure;    ///< none when it succeeded
    };
    /// Done on the worker, below the interruption flag that Cancel sets; touches nothing of the
    /// flow. What it throws is the failure.
    using Work = std::function<Result(const Report& report)>;

    /// The executors outlive the flow.
    explicit Flow(const FlowExecutors& executors) : executors_(executors) {}

    /// Begins; what was under way is asked to stop and tells nothing any more.
    void Start(Work work);
    /// For a TakeOver: the flow goes on on the home executor, until End. Cancel calls _Cancelled.
    void GoOn(const OV::UniString& progress);
    /// Cancel was called after GoOn; the place to call End.
    virtual void _Cancelled() {}
    /// Ends what GoOn began; on the home executor.
    void End(const Result& result);
    /// Nothing was started: what is under way is asked to stop and tells nothing any more.
    void Reset();
    /// Tells the observers that contents became others.
    void NotifyChanged();

    /// Those that were given.
    [[nodiscard]] const FlowExecutors& GetExecutors() const noexcept { return executors_; }

private:
    struct Run;

    void Begin(std::shared_ptr<Run> run);
    void SetProgress(const OV::UniString& progress);

    FlowExecutors executors_;
    FlowState state_ = FlowState::Idle;
    Failure failure_;
    OV::UniString progress_;
    std::shared_ptr<Run> run_;
    OV::EventSource<FlowObserver> observers_;
};

}  // namespace SYC
