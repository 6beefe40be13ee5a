#pragma once

#include "ManagementTool/AsyncTaskExecuting.hpp"
#include "ManagementTool/RequestFailure.hpp"
#include "OVRoot/Lock.hpp"
#include "SYClientBase/LogException.hpp"

#include <functional>
#include <variant>

namespace Syncra::Server::ManagementTool::Core {

/// Does `work`; an exception of the family that leaves it is logged on its way.
template <class Work>
auto LoggingWhatEscapes(Work&& work)
{
    try {
        return work();
    } catch (const OV::Exception& exception) {
        SYCB::LogException(exception);
        throw;
    }
}

/// A request to a repository. It holds the repository for itself, so that its manager may be
/// reconnected while a cancelled request is still under way.
template <class Repository>
class RepositoryTask : public AsyncTaskExecuting::Task {
public:
    explicit RepositoryTask(OV::Ref<Repository> repository) : repository_(std::move(repository)) {}

    /// Of type NoError until the step has failed. Safe on any thread.
    [[nodiscard]] RequestFailure GetFailure() const
    {
        const OV::LockGuard guard(lock_);
        return failure_;
    }
    /// For who waited for the end. Empty when the repository turned out to be no longer usable.
    [[nodiscard]] const OV::Ref<Repository>& GetRepository() const noexcept { return repository_; }

protected:
    bool RunTask() final
    {
        return LoggingWhatEscapes([this] {
            SetFailure({});
            try {
                RunStep(repository_);
                return true;
            } catch (...) {
                SetFailure(DescribeFailure());
            }
            DropUnusable();
            return false;
        });
    }

    /// The operation's own step, on the worker; its exceptions become the failure.
    virtual void RunStep(OV::Ref<Repository>& repository) = 0;

private:
    void SetFailure(RequestFailure failure)
    {
        const OV::LockGuard guard(lock_);
        failure_ = std::move(failure);
    }
    void DropUnusable()
    {
        if (!repository_ || repository_->IsUsable())
            return;
        repository_->Close();
        repository_.Reset();
    }

    OV::Ref<Repository> repository_;
    mutable OV::Lock lock_;
    RequestFailure failure_ OV_GUARDED_BY(lock_);
};

/// Makes the task of an operation, anew for each attempt.
template <class Repository>
class TaskMaker
    : public std::function<OV::Ref<RepositoryTask<Repository>>(const OV::Ref<Repository>&)> {
    using Base = std::function<OV::Ref<RepositoryTask<Repository>>(const OV::Ref<Repository>&)>;

public:
    using Base::Base;
};

/// The result of a step that brings nothing back.
using Nothing = std::monostate;

/// The request whose step is a function of the repository, which owns its arguments.
template <class Repository, class Result>
class StepTask : public RepositoryTask<Repository> {
public:
    using Step = std::function<Result(Repository&)>;

    StepTask(OV::Ref<Repository> repository, Step step)
        : RepositoryTask<Repository>(std::move(repository)), step_(std::move(step))
    {}

    /// What the step returned; for who waited for the success.
    Result result{};

private:
    void RunStep(OV::Ref<Repository>& repository) override { result = step_(*repository); }

    const Step step_;
};

}  // namespace Syncra::Server::ManagementTool::Core
