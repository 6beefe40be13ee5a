#pragma once

#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/Export.hpp"

#include <thread>

namespace Syncra::Server::ManagementTool::GUI {

/// Waits behind the dialog "Communicating with Server..." and tells of failures by alerts. Made on
/// the main thread; any other one waits without the dialog.
class SYC_API AsyncTaskDialogExecutingImplementation final
    : public Core::UserAsyncTaskExecutingImplementation {
public:
    [[nodiscard]] bool ExecuteTask(const OV::Ref<Core::AsyncTaskExecuting::Task>& task,
                                   OV::Executor* executor,
                                   std::uint32_t delayMilliseconds) override;
    short ShowAlert(Core::ErrorType error, Core::ObjectType object,
                    const OV::UniString* name) override;

private:
    const std::thread::id mainThread_ = std::this_thread::get_id();
};

/// Lets the management tool wait and tell with dialogs from now on, and every request of the
/// process ask there about servers that are not trusted. For the main thread, which then waits for
/// requests of other threads through the strategy or in its message loop.
SYC_API void SetAsyncTaskDialogExecutingImplementationForCore();

}  // namespace Syncra::Server::ManagementTool::GUI
