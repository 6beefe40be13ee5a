#pragma once

#include "ManagementTool/AsyncTaskExecuting.hpp"
#include "ManagementTool/ErrorType.hpp"
#include "ManagementTool/ObjectType.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// How the management tool waits for a request and tells the user of its failure. This one waits
/// without a dialog and tells nothing: for hosts without a user interface.
class SYC_API UserAsyncTaskExecutingImplementation {
public:
    virtual ~UserAsyncTaskExecutingImplementation() = default;

    /// Runs the task, on an executor of its own when `executor` is null, and returns whether it
    /// succeeded. Blocks the calling thread; the user is shown nothing in the first
    /// `delayMilliseconds`.
    [[nodiscard]] virtual bool ExecuteTask(const OV::Ref<AsyncTaskExecuting::Task>& task,
                                           OV::Executor* executor, std::uint32_t delayMilliseconds);
    /// Tells the user of a failure and returns his answer: TryAgain, or another number. `name` is
    /// the object's, or null.
    virtual short ShowAlert(ErrorType error, ObjectType object, const OV::UniString* name);

    /// The answer that repeats the request.
    static constexpr short TryAgain = 1;
    /// The delay of all operations of the management tool.
    static constexpr std::uint32_t UsualDelayMilliseconds = 2000;

    /// The one of the process, through which every operation waits and tells; below a
    /// WithoutUserInterface, the one that shows nothing.
    [[nodiscard]] static UserAsyncTaskExecutingImplementation& Current();

    /// Lets the calling thread wait without a user interface while it lives: for work that the
    /// library begins by itself beside the main thread, where no dialog may appear.
    class WithoutUserInterface {
    public:
        WithoutUserInterface() noexcept;
        ~WithoutUserInterface();
        WithoutUserInterface(const WithoutUserInterface&) = delete;
        WithoutUserInterface& operator=(const WithoutUserInterface&) = delete;
    };
};

/// Installs `implementation` for the process; null restores the one without a user interface. The
/// caller keeps it alive.
SYC_API void
SetUserAsyncTaskExecutingImplementation(UserAsyncTaskExecutingImplementation* implementation);

}  // namespace Syncra::Server::ManagementTool::Core
