#include "UserInterface/AsyncTaskDialog.hpp"

#include "Files/ResourceNumbers.hpp"
#include "ManagementTool/RunAtScopeEnd.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Resources.hpp"
#include "UserInterface/TrustServerQuestion.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::GUI {

namespace {

constexpr int DialogNumber = 32420;
constexpr int TextNumber = 1;
constexpr int CancelNumber = 2;
constexpr int Communicating = 37;
constexpr int PleaseWait = 38;
constexpr std::uint64_t SecondsOfAText = 3;
constexpr std::uint32_t LookMilliseconds = 20;

/// Any of these dialogs is in its modal loop; only the main thread looks.
bool hasDialogInvoked = false;

}  // namespace

AsyncTaskDialog::AsyncTaskDialog(OV::Ref<Core::AsyncTaskExecuting::Task> task,
                                 std::uint32_t delayMilliseconds, OV::Executor* executor)
    : ModalDialog(DialogNumber), task_(std::move(task)), delayMilliseconds_(delayMilliseconds),
      executor_(executor), text_(*this, TextNumber), cancelButton_(*this, CancelNumber),
      lastTextSwitch_(OV::Clock::Current().Ticks())
{
    Attach(*this);
    cancelButton_.Attach(*this);
}

AsyncTaskDialog::~AsyncTaskDialog()
{
    // A dialog that was refused was never closed, and its task is still to answer.
    if (response_)
        response_->SetDialog(nullptr);
}

bool AsyncTaskDialog::Invoke()
{
    response_ = OV::MakeRef<AsyncDialogResponse>(this);
    Core::AsyncTaskExecuting executing(task_, response_, executor_);
    if (!executing.IsStarted())
        return false;
    if (delayMilliseconds_ != 0 && WaitSilently()) {
        executing.CancelTask();
        return response_->HasSucceeded();
    }
    if (hasDialogInvoked)
        return false;
    hasDialogInvoked = true;
    executing_ = &executing;
    const Core::RunAtScopeEnd atEnd(OV::MakeTask([this] {
        executing_ = nullptr;
        hasDialogInvoked = false;
    }));
    return ModalDialog::Invoke();
}

/// For the delay, but for what the task asks meanwhile: a user who sees nothing cannot answer.
bool AsyncTaskDialog::WaitSilently()
{
    for (std::uint32_t waited = 0; waited < delayMilliseconds_; waited += LookMilliseconds) {
        if (response_->Wait(std::min(LookMilliseconds, delayMilliseconds_ - waited)))
            return true;
        TrustServerQuestion::AnswerWaiting();
    }
    return false;
}

void AsyncTaskDialog::_PanelOpened(Dlg::Panel&)
{
    EnableIdleEvents();
    ShowText(Communicating);
}

void AsyncTaskDialog::_PanelIdle(Dlg::Panel&)
{
    const OV::Clock& clock = OV::Clock::Current();
    const std::uint64_t now = clock.Ticks();
    if (now - lastTextSwitch_ <= SecondsOfAText * clock.TicksPerSecond())
        return;
    lastTextSwitch_ = now;
    ShowText(shownText_ == Communicating ? PleaseWait : Communicating);
}

void AsyncTaskDialog::_PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult result)
{
    if (result == Dlg::DialogResult::Cancel && executing_ != nullptr)
        executing_->CancelTask();
}

void AsyncTaskDialog::_PanelClosed(Dlg::Panel&)
{
    response_->SetDialog(nullptr);
}

void AsyncTaskDialog::_ButtonClicked(Dlg::ButtonItem&)
{
    PostCloseRequest(Dlg::DialogResult::Cancel);
}

void AsyncTaskDialog::ShowText(int listItem)
{
    shownText_ = listItem;
    text_.SetText(OV::GetStringListItem(SYC::TextLists::TaskProgress, listItem));
}

}  // namespace Syncra::Server::ManagementTool::GUI
