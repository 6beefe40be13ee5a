#include "UserInterface/AsyncDialogResponse.hpp"

#include "Dlg/ModalDialog.hpp"

namespace Syncra::Server::ManagementTool::GUI {

void AsyncDialogResponse::RunResponse()
{
    if (dialog_ != nullptr)
        dialog_->PostCloseRequest(HasSucceeded() ? Dlg::DialogResult::Accept
                                                 : Dlg::DialogResult::Cancel);
}

}  // namespace Syncra::Server::ManagementTool::GUI
