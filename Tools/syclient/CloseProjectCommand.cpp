#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "CloseSession.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "Files/ResourceNumbers.hpp"
#include "ProjectArguments.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"
#include "UserInterface/CloseProjectDialog.hpp"
#include "UserInterface/DiscardWarningDialog.hpp"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

using SYC::CloseProjectDialog;
using Result = CloseProjectDialog::Result;
constexpr int DiscardAnyway = 1;
constexpr int KeepOpen = 2;

struct CloseProjectArguments {
    ProjectArguments project;
    std::string choice;
    bool discardAnyway = false;

    void Resolve(Context& context) { project.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        command
            .add_option("--choice", choice,
                        "main, other, local, discard or cancel, instead of asking")
            ->option_text("KEY");
        command.add_flag("--discard-anyway", discardAnyway,
                         "Agree to the warning that discarding needs");
    }
};

/// One thing that the dialog lets its user do.
struct Choice {
    std::string key;
    std::string label;
    std::function<void(Dlg::HeadlessDialog&)> act;
};

std::vector<Choice> ChoicesOf(const Dlg::HeadlessDialog& dialog)
{
    const auto press = [](int button) {
        return [button](Dlg::HeadlessDialog& open) { open.Press(button); };
    };
    const auto label = [&](int item) { return ForDisplay(dialog.GetText(item)); };
    std::vector<Choice> choices{
        {"main", label(CloseProjectDialog::MainButton), press(CloseProjectDialog::MainButton)}};
    constexpr int popUp = CloseProjectDialog::OtherChoices;
    if (dialog.IsEnabled(popUp)) {
        for (const auto& [key, entry] :
             {std::pair<const char*, int>{"other", CloseProjectDialog::OtherRelease},
              {"local", CloseProjectDialog::SaveLocallyEntry}})
            choices.push_back({key, ForDisplay(dialog.GetEntries(popUp).at(entry - 1)),
                               [entry = entry](Dlg::HeadlessDialog& open) {
                                   open.Choose(CloseProjectDialog::OtherChoices, entry);
                               }});
    }
    choices.push_back({"discard", label(CloseProjectDialog::DiscardButton),
                       press(CloseProjectDialog::DiscardButton)});
    choices.push_back({"cancel", label(CloseProjectDialog::CancelButton),
                       press(CloseProjectDialog::CancelButton)});
    return choices;
}

/// Shows the dialog's question and choices on standard error and takes a key from the arguments or
/// a line of standard input; the end of input cancels.
void Ask(Dlg::HeadlessDialog& dialog, const CloseProjectArguments& arguments)
{
    const auto choices = ChoicesOf(dialog);
    std::string key = arguments.choice;
    if (key.empty()) {
        std::cerr << ForDisplay(dialog.GetTitle()) << "\n"
                  << ForDisplay(dialog.GetText(CloseProjectDialog::QuestionText)) << "\n";
        for (const Choice& choice : choices)
            std::cerr << "  " << choice.key << std::string(9 - choice.key.size(), ' ')
                      << choice.label << "\n";
        std::cerr << "> " << std::flush;
        std::getline(std::cin, key);
    }
    for (const Choice& choice : choices)
        if (choice.key == key) {
            choice.act(dialog);
            // A warning that was not agreed to leaves the dialog open, and nobody else closes it.
            return dialog.Leave();
        }
    if (!key.empty())
        std::cerr << "\"" << key << "\" is none of the choices; the project stays open.\n";
    dialog.Leave();
}

Result::Value AskWhatBecomesOfChanges(const SYC::CachedProjectInfo& cache, bool isOnline,
                                      const CloseProjectArguments& arguments)
{
    Dlg::HeadlessToolkit toolkit;
    toolkit.AddScript(CloseProjectDialog::Number,
                      [&](Dlg::HeadlessDialog& dialog) { Ask(dialog, arguments); });
    toolkit.AddAnswer(SYC::Alerts::DiscardChanges,
                      arguments.discardAnyway ? DiscardAnyway : KeepOpen);
    toolkit.AddScript(SYC::DiscardWarningDialog::Number, [&](Dlg::HeadlessDialog& warning) {
        warning.Press(arguments.discardAnyway ? SYC::DiscardWarningDialog::DiscardButton
                                              : SYC::DiscardWarningDialog::CancelButton);
    });
    CloseProjectDialog dialog(isOnline, false, cache.IsChanges(), false,
                              cache.IsProjectForcedOffline(), cache.IsReservation(),
                              cache.GetProjectName());
    (void)dialog.Invoke();
    return dialog.GetResult();
}

bool IsReachable(const IO::Location& location)
{
    try {
        (void)SYCB::CreateSyncraClient(location);
        return true;
    } catch (const OV::Exception& failure) {
        // Who is refused works neither here nor there; only a server that is away leaves him alone.
        if (ExitCodeOf(failure) != ExitCode::Offline)
            throw;
        return false;
    }
}

const char* MeaningOf(Result::Value result)
{
    switch (result) {
    case Result::Cancelled:
        return "kept open";
    case Result::SaveLocally:
        return "saved locally";
    case Result::SendSaveAndReleaseAll:
        return "send, save and release all";
    case Result::SendAndSave:
        return "send and save";
    case Result::Discard:
        return "changes discarded";
    }
    return "kept open";
}

void RunCloseProject(const CloseProjectArguments& arguments, Context& context)
{
    const auto info = arguments.project.Read();
    SYC::ClientProjectConnectionManager manager(SYC::ToSyncraLocation(info), context.DataFolder(),
                                                {});
    const auto cache = manager.FindCache();
    if (!cache) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("\"" + ForDisplay(info.projectName) + "\" is not cached for " +
                             DescribeLogin(info) + ".");
        return;
    }
    const bool isOnline = IsReachable(manager.GetProjectLocation());
    const auto result = AskWhatBecomesOfChanges(*cache, isOnline, arguments);
    if (result == Result::Discard)
        cache->SetUnsentChanges(false);
    const bool isClosed = result != Result::Cancelled;
    if (isClosed && isOnline && !manager.GetSessionId().empty() && !SYC::CloseSession(manager))
        context.exitCode = ExitCode::Failure;
    if (!isClosed)
        context.exitCode = ExitCode::Failure;
    ReportUnwritten(*cache, context);
    if (context.output.json)
        context.output.PrintJson({{"result", static_cast<int>(result)},
                                  {"meaning", MeaningOf(result)},
                                  {"online", isOnline}});
    else
        context.output.PrintLine("\"" + ForDisplay(info.projectName) + "\": " + MeaningOf(result) +
                                 ".");
}

}  // namespace

void DeclareCloseProject(CLI::App& command, Context& context)
{
    command.footer("The changes themselves are the design application's: it sends or saves them "
                   "when it reads the\nresult. Exit codes: 0 closed, 1 kept open or the session "
                   "could not be ended, 3 not cached.");
    DefineCommand(command, context, &RunCloseProject);
}
