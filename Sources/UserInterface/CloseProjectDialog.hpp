#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/PopUpItem.hpp"
#include "Dlg/TextItem.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Asks what becomes of the local changes when a shared project is closed. It touches neither the
/// server nor the cache: the host reads the result after Invoke, and acts. Its words are about
/// changes; mails in the outbox need no question: they are safe on the disk and go out the next
/// time.
class SYC_API CloseProjectDialog final : public Dlg::ModalDialog,
                                         private Dlg::PanelObserver,
                                         private Dlg::ButtonItemObserver,
                                         private Dlg::PopUpItemObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 31040;
    enum Item { MainButton = 1, CancelButton, DiscardButton, Icon, QuestionText, OtherChoices };
    /// @}
    /// Of the other choices; each is there while they are enabled.
    enum PopUpEntry { OtherRelease = 1, Separator, SaveLocallyEntry };

    /// What is to become of the changes.
    struct Result {
        /// The numbers are those that hosts know.
        enum Value : std::int32_t {
            Cancelled = 0,  ///< keep the project open
            SaveLocally = 2,
            SendSaveAndReleaseAll = 3,
            SendAndSave = 4,  ///< and keep the reservations
            Discard = 5,
        };
    };

    /// `online`: the server can be reached. `second` is kept for the host and changes nothing here.
    /// `discardNeedsWarning`: who discards is asked once more, online by
    /// the alert 32040, otherwise by the dialog 31041; "no" leaves the dialog open. `saveOnly`:
    /// nothing may be sent, as by a user who may only read. `offlineWork`: the user chose to work
    /// offline. `releaseAllDefault`: the main button releases what the user holds, and the menu
    /// offers not to.
    CloseProjectDialog(bool online, bool second, bool discardNeedsWarning, bool saveOnly,
                       bool offlineWork, bool releaseAllDefault, const OV::UniString& projectName);

    /// Cancelled until a choice closed the dialog.
    [[nodiscard]] Result::Value GetResult() const noexcept { return result_; }

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void _PopUpSelected(Dlg::PopUpItem&) override;

    [[nodiscard]] bool IsLocalOnly() const noexcept { return !online_ || offlineWork_; }
    [[nodiscard]] bool CanSend() const noexcept { return !IsLocalOnly() && !saveOnly_; }
    [[nodiscard]] OV::UniString Question() const;
    void FillPopUp();
    [[nodiscard]] bool IsDiscardConfirmed() const;
    void CloseWith(Result::Value result);

    const bool online_;
    [[maybe_unused]] const bool second_;
    const bool discardNeedsWarning_;
    const bool saveOnly_;
    const bool offlineWork_;
    const bool releaseAllDefault_;
    const OV::UniString projectName_;
    Result::Value result_ = Result::Cancelled;

    Dlg::ButtonItem mainButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::ButtonItem discardButton_;
    Dlg::TextItem question_;
    Dlg::PopUpItem popUp_;
};

}  // namespace SYC
