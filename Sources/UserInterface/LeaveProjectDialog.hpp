#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "LeaveProject.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Asks how a project is to be left; what was not sent is asked about once more before it is lost.
class SYC_API LeaveProjectDialog final : public Dlg::ModalDialog, private Dlg::ButtonItemObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32452;
    enum Item { RemoveButton = 1, CancelButton, KeepButton, QuestionText = 5, UnsentText };
    /// @}

    /// `found` is what LeaveProject::Look found.
    LeaveProjectDialog(const OV::UniString& projectName, const LeaveProject::Found& found);

    /// After an Invoke that was true.
    [[nodiscard]] const LeaveProject::Options& GetOptions() const noexcept { return options_; }

private:
    void _ButtonClicked(Dlg::ButtonItem& button) override;

    const OV::UniString projectName_;
    const bool hasUnsentWork_;
    LeaveProject::Options options_;
    Dlg::ButtonItem removeButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::ButtonItem keepButton_;
};

}  // namespace SYC
