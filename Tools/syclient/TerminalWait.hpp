#pragma once

#include "OVRoot/Resources.hpp"
#include "Output.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

/// How a command waits for a request of the management tool and tells its failure: the texts of the
/// communicating dialog on standard error, Ctrl-C in the place of its Cancel button, and the alerts
/// as lines, "Try again" asked for where there is a terminal. Installs itself for the process while
/// it lives.
class TerminalWait
    : public Syncra::Server::ManagementTool::Core::UserAsyncTaskExecutingImplementation,
      private OV::AlertPresenter {
public:
    using Task = Syncra::Server::ManagementTool::Core::AsyncTaskExecuting::Task;
    using ErrorType = Syncra::Server::ManagementTool::Core::ErrorType;
    using ObjectType = Syncra::Server::ManagementTool::Core::ObjectType;

    explicit TerminalWait(const Output& output);
    ~TerminalWait() override;
    TerminalWait(const TerminalWait&) = delete;
    TerminalWait& operator=(const TerminalWait&) = delete;

    [[nodiscard]] bool ExecuteTask(const OV::Ref<Task>& task, OV::Executor* executor,
                                   std::uint32_t delayMilliseconds) override;
    /// Whether Ctrl-C ended the last task; the user has been told.
    [[nodiscard]] bool WasCancelled() const noexcept { return wasCancelled_; }
    short ShowAlert(ErrorType error, ObjectType object, const OV::UniString* name) override;

private:
    int Show(const OV::AlertResource& alert) override;

    const Output& output_;
    bool wasCancelled_ = false;
    /// Knows the alert of each failure.
    Syncra::Server::ManagementTool::GUI::AsyncTaskDialogExecutingImplementation alerts_;
    OV::AlertPresenter* formerPresenter_;
};
