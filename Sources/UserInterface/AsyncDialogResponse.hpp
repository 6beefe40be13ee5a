#pragma once

#include "ManagementTool/AsyncTaskExecuting.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {
class ModalDialog;
}

namespace Syncra::Server::ManagementTool::GUI {

/// Closes a dialog when the task has finished: as accepted when it succeeded, else as cancelled.
class SYC_API AsyncDialogResponse final : public Core::AsyncTaskExecuting::Response {
public:
    /// The dialog outlives the response, or SetDialog takes it away.
    explicit AsyncDialogResponse(Dlg::ModalDialog* dialog) : dialog_(dialog) {}

    /// Null: a late result closes nothing. On the main thread.
    void SetDialog(Dlg::ModalDialog* dialog) { dialog_ = dialog; }

private:
    void RunResponse() override;

    Dlg::ModalDialog* dialog_;
};

}  // namespace Syncra::Server::ManagementTool::GUI
