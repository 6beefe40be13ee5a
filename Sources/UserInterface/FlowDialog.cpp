#include "UserInterface/FlowDialog.hpp"

#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

FlowDialog::FlowDialog(Flow& flow, const OV::UniString& title)
    : ModalDialog(Number), flow_(flow), text_(*this, ProgressText),
      cancelButton_(*this, CancelButton), subscription_(flow.Subscribe(*this))
{
    SetTitle(title);
    Attach(*this);
    cancelButton_.Attach(*this);
}

bool FlowDialog::Invoke()
{
    if (flow_.IsRunning())
        (void)ModalDialog::Invoke();
    return flow_.GetState() == FlowState::Succeeded;
}

void FlowDialog::_FlowChanged()
{
    if (flow_.IsRunning())
        text_.SetText(flow_.GetProgress());
    else
        PostCloseRequest(Dlg::DialogResult::Accept);
}

bool ShowFailure(const Failure& failure)
{
    constexpr int tryAgain = 1;
    if (!failure || failure.kind == FailureKind::Cancelled)
        return false;
    const int answer =
        OV::ShowAlert(failure.mayTryAgain ? Alerts::FlowMayTryAgain : Alerts::FlowFailed,
                      {failure.sentence, failure.advice});
    return failure.mayTryAgain && answer == tryAgain;
}

}  // namespace SYC
