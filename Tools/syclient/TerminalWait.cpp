#include "TerminalWait.hpp"

#include "Files/ResourceNumbers.hpp"
#include "InterruptNote.hpp"
#include "OVRoot/Terminal.hpp"

#include <iostream>

namespace {

namespace ManagementCore = Syncra::Server::ManagementTool::Core;
using ManagementCore::AsyncTaskExecuting;

constexpr std::uint32_t LookMilliseconds = 50;
constexpr std::uint32_t SwitchMilliseconds = 3000;
constexpr int Communicating = 37;
constexpr int PleaseWait = 38;

/// Nothing reacts to it, and no message loop runs.
struct PlainResponse final : AsyncTaskExecuting::Response {
    PlainResponse() { CancelReaction(); }
    void RunResponse() override {}
};

}  // namespace

TerminalWait::TerminalWait(const Output& output)
    : output_(output), formerPresenter_(AlertPresenter::SetCurrent(this))
{
    ManagementCore::SetUserAsyncTaskExecutingImplementation(this);
}

TerminalWait::~TerminalWait()
{
    ManagementCore::SetUserAsyncTaskExecutingImplementation(nullptr);
    AlertPresenter::SetCurrent(formerPresenter_);
}

bool TerminalWait::ExecuteTask(const OV::Ref<Task>& task, OV::Executor* executor,
                               std::uint32_t delayMilliseconds)
{
    wasCancelled_ = false;
    const auto response = OV::MakeRef<PlainResponse>();
    AsyncTaskExecuting executing(task, response, executor);
    if (!executing.IsStarted())
        return false;
    const InterruptNote note;
    int text = Communicating;
    std::uint32_t next = delayMilliseconds;
    for (std::uint32_t waited = 0; !response->Wait(LookMilliseconds); waited += LookMilliseconds) {
        if (InterruptNote::WasInterrupted()) {
            executing.CancelTask();
            wasCancelled_ = true;
            output_.Error("Cancelled; the server may still carry the request out.");
            return false;
        }
        if (waited < next)
            continue;
        output_.Progress(ForDisplay(OV::GetStringListItem(SYC::TextLists::TaskProgress, text)));
        text = text == Communicating ? PleaseWait : Communicating;
        next = waited + SwitchMilliseconds;
    }
    return response->HasSucceeded();
}

short TerminalWait::ShowAlert(ErrorType error, ObjectType object, const OV::UniString* name)
{
    return alerts_.ShowAlert(error, object, name);
}

int TerminalWait::Show(const OV::AlertResource& alert)
{
    output_.Error(ForDisplay(alert.message));
    const int last = static_cast<int>(alert.buttons.size());
    if (last < 2 || output_.json || !OV::Terminal::IsTerminal(OV::Terminal::Stream::Input))
        return last;
    for (int button = 0; button < last; ++button)
        std::cerr << "  " << button + 1 << "  " << ForDisplay(alert.buttons[button]) << "\n";
    std::cerr << "> " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    for (int button = 1; button < last; ++button)
        if (answer == std::to_string(button))
            return button;
    return last;
}
