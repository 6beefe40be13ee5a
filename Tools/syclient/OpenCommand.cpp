#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "CheckReport.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "Files/FileErrors.hpp"
#include "InterruptNote.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "ProjectArguments.hpp"
#include "ReadProjectConnection.hpp"
#include "RegisteredProjects.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "StartCheck.hpp"
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

    void Resolve(Context& context) { project.Resolve(context); }
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

/// What the check would do first, on its thread: the system loads libraries faster while there is
/// one thread.
void PrepareTransport()
{
    try {
        Communication::PrepareTransport();
    } catch (const Communication::ConnectionException&) {
        // The check meets the same and tells it.
    }
}

/// Runs the check beside the message loop: shows its steps once it takes long, ends with Ctrl-C.
void Check(std::shared_ptr<SYC::ProjectConnectionBase> connection, SYC::CheckOptions options,
           CheckReport& report, const Output& output)
{
    constexpr std::uint32_t LookMilliseconds = 50;
    constexpr std::uint32_t PatienceMilliseconds = 2000;
    const InterruptNote note;
    PrepareTransport();
    SYCB::MessageLoopExecutor home;
    OV::PooledExecutor worker(0, 1, 0);
    std::stop_source stop;
    bool hasEnded = false;
    std::optional<SYC::CheckStep> step, shown;
    options.stop = stop.get_token();
    options.progress = [&](SYC::CheckStep next) { step = next; };
    SYC::StartCheck(std::move(connection), std::move(options), worker, home,
                    [&](SYC::CheckResult result, const SYC::Failure& failure) {
                        report.result = result;
                        report.failure = failure;
                        hasEnded = true;
                    });
    std::uint32_t waited = 0;
    while (!SYCB::MessageLoop::RunUntil([&] { return hasEnded; }, LookMilliseconds)) {
        if (InterruptNote::WasInterrupted())
            stop.request_stop();
        waited += LookMilliseconds;
        if (waited >= PatienceMilliseconds && step && std::exchange(shown, step) != step)
            output.Progress(ForDisplay(SYC::ToText(*step)) + " ...");
    }
}

/// One that cannot be read is there.
bool HasCache(const SYC::ClientProjectConnectionManager& manager)
{
    try {
        return manager.FindCache() != nullptr;
    } catch (const Syncra::Server::ManagementTool::Core::FileError&) {
        return true;
    }
}

void CheckProject(const OpenArguments& arguments, CheckReport& report, Context& context)
{
    report.connection = arguments.project.Read();
    SYC::ClientProjectConnectionManager manager(SYC::ToSyncraLocation(report.connection),
                                                context.DataFolder(),
                                                [&](std::int32_t code, const OV::UniString& text) {
                                                    report.events.push_back({code, text});
                                                });
    report.isCacheNew = !HasCache(manager);
    std::shared_ptr<SYC::ProjectConnectionBase> connection;
    if (arguments.forWriting)
        connection = std::make_shared<SYC::WriteProjectConnection>(&manager);
    else
        connection = std::make_shared<SYC::ReadProjectConnection>(&manager);

    context.output.Progress("Checking \"" + ForDisplay(report.connection.projectName) + "\" as " +
                            DescribeLogin(report.connection) + " ...");
    SYC::CheckOptions options;
    options.newSession = arguments.newSession;
    options.forceOnline = arguments.forceOnline;
    options.allowTakeover = arguments.takeOver;
    Check(connection, std::move(options), report, context.output);
    // An unreadable cache is no reason to look at the server.
    if (report.result == SYC::CheckResult::Offline &&
        ExitCodeOf(report.failure) == ExitCode::Failure) {
        context.exitCode = ExitCode::Failure;
        context.output.Error(report.Explanation());
        return;
    }
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

void RunOpen(const OpenArguments& arguments, Context& context)
{
    CheckReport report;
    CheckProject(arguments, report, context);
    // A project that could not be joined is not to be listed as one that was.
    if (report.isCacheNew && report.cache && report.cache->GetSessionId().empty())
        SYC::registeredProjects().RemoveProject(
            std::exchange(report.cache, nullptr)->GetCacheFolderLocation());
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
