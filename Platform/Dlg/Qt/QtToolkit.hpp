#pragma once

#include "Dlg/Toolkit.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Resources.hpp"

namespace Dlg {

/// Dialogs and alerts as Qt windows. Installs itself for the process while it lives, and makes Qt's
/// event loop the message loop of SYCB::MessageLoop. The host's QApplication outlives it. Made and
/// destroyed on the main thread.
class SYC_QT_API QtToolkit final : public Toolkit, public OV::AlertPresenter {
public:
    QtToolkit();
    ~QtToolkit() override;
    QtToolkit(const QtToolkit&) = delete;
    QtToolkit& operator=(const QtToolkit&) = delete;

    std::unique_ptr<DialogWindow> MakeWindow(const DialogDescription& description,
                                             WindowEvents& events) override;
    std::optional<IO::Location> AskSaveFile(const OV::UniString& title,
                                            const OV::UniString& suggestedName) override;
    /// Off the main thread, which may be waiting for the caller, it returns at once with the last
    /// button, the one that changes nothing; the user sees the alert when the main thread is free.
    int Show(const OV::AlertResource& alert) override;

private:
    struct Loop;

    std::shared_ptr<Loop> loop_;
    Toolkit* formerToolkit_;
    OV::AlertPresenter* formerPresenter_;
};

}  // namespace Dlg
