#pragma once

#include "Dlg/Panel.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A dialog that the caller waits for.
class SYC_API ModalDialog : public Panel {
public:
    /// As Panel's constructors.
    /// @{
    explicit ModalDialog(int number) : ModalDialog(GetDialogDescription(number)) {}
    explicit ModalDialog(const DialogDescription& description);
    /// @}

    /// Shows the dialog and runs the message loop until it is closed; true when it was accepted.
    /// Throws what an observer threw. An open dialog cannot be invoked again
    /// (OV::IllegalArgumentException).
    virtual bool Invoke();

    /// Closes the dialog as soon as the message loop comes to it, so that whoever asks may still
    /// use it until he returns. Any code on the main thread may ask, whether the dialog is open or
    /// not; the first request of an opening counts, and one that comes when it is closed is
    /// dropped. Returns whether it is the first. From then on no use of an item is told any more:
    /// a second click that came before the window is gone is none.
    bool PostCloseRequest(DialogResult result);

private:
    void LeaveRequested() override { PostCloseRequest(DialogResult::Cancel); }
    [[nodiscard]] bool HearsItems() const noexcept override { return !isCloseRequested_; }
    void Close(DialogResult result);
    void NotifyClosed();

    bool isOpen_ = false;
    bool isCloseRequested_ = false;
    DialogResult result_ = DialogResult::Cancel;
    /// A request on its way must not reach a dialog that is gone.
    std::shared_ptr<ModalDialog*> self_;
};

}  // namespace Dlg
