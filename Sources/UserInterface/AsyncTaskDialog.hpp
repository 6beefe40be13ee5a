#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "OVRoot/Export.hpp"
#include "UserInterface/AsyncDialogResponse.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// "Communicating with Server...": stands before the wait for a task that takes longer than a
/// delay, and lets the user give it up.
class SYC_API AsyncTaskDialog final : public Dlg::ModalDialog,
                                      private Dlg::PanelObserver,
                                      private Dlg::ButtonItemObserver {
public:
    /// `executor` may be null: the task then has one of its own. No delay shows the dialog at once.
    AsyncTaskDialog(OV::Ref<Core::AsyncTaskExecuting::Task> task, std::uint32_t delayMilliseconds,
                    OV::Executor* executor);
    ~AsyncTaskDialog() override;

    /// Starts the task and waits for it; whether it succeeded. False at once when the user cancels,
    /// and when the delay is over while another of these dialogs is up, for a second one is never
    /// shown above it; the work then ends in the background, and its result changes nothing.
    bool Invoke() override;

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _PanelIdle(Dlg::Panel&) override;
    void _PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult result) override;
    void _PanelClosed(Dlg::Panel&) override;
    void _ButtonClicked(Dlg::ButtonItem&) override;
    void ShowText(int listItem);
    [[nodiscard]] bool WaitSilently();

    OV::Ref<Core::AsyncTaskExecuting::Task> task_;
    std::uint32_t delayMilliseconds_;
    OV::Executor* executor_;
    Core::AsyncTaskExecuting* executing_ = nullptr;  ///< while Invoke runs
    OV::Ref<AsyncDialogResponse> response_;
    Dlg::TextItem text_;
    Dlg::ButtonItem cancelButton_;
    int shownText_ = 0;
    std::uint64_t lastTextSwitch_;
};

}  // namespace Syncra::Server::ManagementTool::GUI
