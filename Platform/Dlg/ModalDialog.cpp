#include "Dlg/ModalDialog.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "SYClientBase/MessageLoop.hpp"

namespace Dlg {

ModalDialog::ModalDialog(const DialogDescription& description)
    : Panel(description), self_(std::make_shared<ModalDialog*>(this))
{}

bool ModalDialog::Invoke()
{
    if (isOpen_)
        throw OV::IllegalArgumentException("The dialog is open already.");
    OV::AssertNoLockHeld("Dlg::ModalDialog");
    result_ = DialogResult::Cancel;
    isOpen_ = true;
    Guarded([this] {
        Notify([this](PanelObserver& observer) { observer._PanelOpened(*this); });
        if (!HasFailed())
            Window().RunModal();
    });
    Guarded([this] { NotifyClosed(); });
    ThrowFailure();
    return result_ == DialogResult::Accept;
}

void ModalDialog::NotifyClosed()
{
    isOpen_ = false;
    isCloseRequested_ = false;
    Notify([this](PanelObserver& observer) { observer._PanelClosed(*this); });
}

bool ModalDialog::PostCloseRequest(DialogResult result)
{
    if (isCloseRequested_)
        return false;
    SYCB::MessageLoop::Post(OV::MakeTask([dialog = std::weak_ptr<ModalDialog*>(self_), result] {
        if (const auto self = dialog.lock())
            (*self)->Close(result);
    }));
    isCloseRequested_ = true;
    return true;
}

void ModalDialog::Close(DialogResult result)
{
    if (!isOpen_) {
        isCloseRequested_ = false;
        return;
    }
    Guarded([this, result] {
        Notify([&](PanelObserver& observer) { observer._PanelCloseRequested(*this, result); });
        result_ = result;
        Window().EndModal();
    });
}

}  // namespace Dlg
