#pragma once

#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// Waits behind the dialog "Communicating with Server..." and tells of failures by alerts. For the
/// main thread.
class AsyncTaskDialogExecutingImplementation final
    : public Core::UserAsyncTaskExecutingImplementation {
public:
    [[nodiscard]] bool ExecuteTask(const OV::Ref<Core::AsyncTaskExecuting::Task>& task,
                                   OV::Executor* executor,
                                   std::uint32_t delayMilliseconds) override;
    short ShowAlert(Core::ErrorType error, Core::ObjectType object,
                    const OV::UniString* name) override;
};

/// Lets the management tool wait and tell with dialogs from now on.
void SetAsyncTaskDialogExecutingImplementationForCore();

}  // namespace Syncra::Server::ManagementTool::GUI
