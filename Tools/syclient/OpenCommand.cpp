#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "CheckReport.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "OVRoot/Clock.hpp"
#include "ProjectArguments.hpp"
#include "ReadProjectConnection.hpp"
#include "SyncraURL.hpp"
#include "WriteProjectConnection.hpp"

#include <CLI/CLI.hpp>

namespace {

struct OpenArguments {
    ProjectArguments project;
    bool forWriting = false;
    bool newSession = false;
    bool forceOnline = false;
    bool takeOver = false;

    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        command.add_flag("-w,--write", forWriting,
                         "For sending changes: a locked project does not pass");
        command.add_flag("--new-session", newSession,
                         "Forget the session of the cache and take or start the server's");
        command.add_flag("--take-over", takeOver, "Take the session over from another computer");
        command.add_flag("--force-online", forceOnline,
                         "Check even while the project is known to be offline");
    }
};

void RunOpen(const OpenArguments& arguments, Context& context)
{
    CheckReport report;
    report.connection = arguments.project.Read();
    SYC::ClientProjectConnectionManager manager(SYC::ToSyncraLocation(report.connection),
                                                context.DataFolder(),
                                                [&](std::int32_t code, const OV::UniString& text) {
                                                    report.events.push_back({code, text});
                                                });
    std::unique_ptr<SYC::ProjectConnectionBase> connection;
    if (arguments.forWriting)
        connection = std::make_unique<SYC::WriteProjectConnection>(&manager);
    else
        connection = std::make_unique<SYC::ReadProjectConnection>(&manager);

    context.output.Progress("Checking \"" + ForDisplay(report.connection.projectName) + "\" as " +
                            DescribeLogin(report.connection) + " ...");
    report.result =
        connection->Check(true, arguments.newSession, arguments.forceOnline, arguments.takeOver);
    // An unreadable cache is no reason to look at the server.
    if (report.result == SYC::CheckResult::Offline && connection->GetFailure() &&
        ExitCodeOf(connection->GetFailure()) == ExitCode::Failure)
        std::rethrow_exception(connection->GetFailure());
    report.projectId = connection->GetProjectId();
    report.serverLocation = connection->GetServerLocation();
    report.sessionId = connection->GetSessionId();
    report.cache = manager.FindCache();
    if (report.result == SYC::CheckResult::Passed)
        report.cache->SetLastOpenProjectTime(OV::Clock::Current().Now());
    report.Print(context.output);
    context.exitCode = ExitCodeOf(report.result);
    if (report.result == SYC::CheckResult::Passed)
        ReportUnwritten(*report.cache, context);
}

}  // namespace

void DeclareOpen(CLI::App& command, Context& context)
{
    command.footer(
        "Exit codes: 0 passed, 1 the cache cannot be read or written, 11 offline, 12 access "
        "denied, 13 session\nin use on another computer, 15 another project or session than "
        "expected, 16 no such project or\nreplaced, 17 state of the project forbids it, 18 "
        "incompatible version.");
    DefineCommand(command, context, &RunOpen);
}
