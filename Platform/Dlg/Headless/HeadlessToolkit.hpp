#pragma once

#include "Dlg/Headless/HeadlessDialog.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Resources.hpp"

#include <deque>

namespace Dlg {

/// Dialogs and alerts without windows, for tests and for hosts without a desktop. Installs itself
/// for the process while it lives. Dialogs run on the queue of SYCB::MessageLoop, and every one
/// needs a script; what is shown is recorded, passwords excepted.
class SYC_API HeadlessToolkit final : public Toolkit, public OV::AlertPresenter {
public:
    /// What a user does with an open dialog; gets the dialog, which lives as long as the call.
    using Script = std::function<void(HeadlessDialog&)>;

    HeadlessToolkit();
    ~HeadlessToolkit() override;
    HeadlessToolkit(const HeadlessToolkit&) = delete;
    HeadlessToolkit& operator=(const HeadlessToolkit&) = delete;

    /// What happens at the next opening of dialog `number` that has no script yet. The script runs
    /// once, on the main thread, when the dialog is open; it may end before the dialog is closed.
    void AddScript(int number, Script script) { scripts_[number].push_back(std::move(script)); }
    /// The button for the next alert `number` that has no answer yet. An alert without an answer
    /// gets its last button, the one that changes nothing.
    void AddAnswer(int number, int button);
    /// What the next question for a file to save to is answered with; nothing: the user cancels. An
    /// unexpected question is cancelled.
    void AddSaveFile(std::optional<IO::Location> file) { saveFiles_.push_back(std::move(file)); }

    /// The numbers of all dialogs that were opened, in their order.
    [[nodiscard]] const OV::Array<int>& GetOpenedDialogs() const noexcept { return opened_; }
    /// Every text, label or entry that the item ever showed, in its order.
    [[nodiscard]] OV::Array<OV::UniString> GetTextsShown(int dialog, int item) const;
    /// Every alert that was shown, with its placeholders filled in, in their order.
    [[nodiscard]] OV::Array<OV::AlertResource> GetAlertsShown() const;

    std::unique_ptr<DialogWindow> MakeWindow(const DialogDescription& description,
                                             WindowEvents& events) override;
    std::optional<IO::Location> AskSaveFile(const OV::UniString& title,
                                            const OV::UniString& suggestedName) override;
    /// Safe on any thread.
    int Show(const OV::AlertResource& alert) override;

private:
    friend class HeadlessDialog;
    /// Throws OV::IllegalReferenceException when nobody expected the dialog.
    [[nodiscard]] Script TakeScript(int number);
    void RecordText(int dialog, int item, const OV::UniString& text);

    Toolkit* formerToolkit_;
    OV::AlertPresenter* formerPresenter_;
    std::map<int, std::deque<Script>> scripts_;
    std::deque<std::optional<IO::Location>> saveFiles_;
    OV::Array<int> opened_;
    std::map<std::pair<int, int>, OV::Array<OV::UniString>> texts_;
    mutable OV::Lock alertLock_;
    std::map<int, std::deque<int>> answers_ OV_GUARDED_BY(alertLock_);
    OV::Array<OV::AlertResource> alerts_ OV_GUARDED_BY(alertLock_);
};

}  // namespace Dlg
