#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "Flow/Flow.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Shows what a running flow does until it has ended. Its Cancel, Escape and close box cancel the
/// flow; the window goes when that has ended.
class SYC_API FlowDialog final : public Dlg::ModalDialog,
                                 private Dlg::PanelObserver,
                                 private Dlg::ButtonItemObserver,
                                 private FlowObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32451;
    enum Item { ProgressText = 1, CancelButton };
    /// @}

    /// The flow outlives the dialog.
    FlowDialog(Flow& flow, const OV::UniString& title);

    /// Whether the flow succeeded. Shows no window for one that does not run.
    bool Invoke() override;

private:
    void _PanelOpened(Dlg::Panel&) override { _FlowChanged(); }
    void _ButtonClicked(Dlg::ButtonItem&) override { flow_.Cancel(); }
    void _FlowChanged() override;
    void LeaveRequested() override { flow_.Cancel(); }

    Flow& flow_;
    Dlg::TextItem text_;
    Dlg::ButtonItem cancelButton_;
    OV::Subscription subscription_;
};

/// Tells the user why a flow failed, and what to do; nothing of one that did not fail. Whether it
/// is to be tried again, which is asked where that may help.
SYC_API bool ShowFailure(const Failure& failure);

}  // namespace SYC
