#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Warns that a project whose changes are discarded cannot be worked on until its server is there
/// again. Invoke is true when the user discards all the same.
class SYC_API DiscardWarningDialog final : public Dlg::ModalDialog,
                                           private Dlg::ButtonItemObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 31041;
    enum Item { DiscardButton = 1, CancelButton, Icon, WarningText };
    /// @}

    DiscardWarningDialog();

private:
    void _ButtonClicked(Dlg::ButtonItem& button) override;

    Dlg::ButtonItem discardButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::TextItem text_;
};

}  // namespace SYC
