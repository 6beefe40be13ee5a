#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "CloseSession.hpp"
#include "Failure.hpp"
#include "ProjectArguments.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"

namespace {

/// A session that went with the membership can never be closed; it is forgotten here. False when
/// the user is a member, or the server cannot be asked.
bool ForgetWithoutMembership(SYC::ClientProjectConnectionManager& manager, const Context& context)
{
    const auto cache = manager.FindCache();
    if (!cache)
        return false;
    try {
        const auto client = SYCB::CreateSyncraClient(manager.GetProjectLocation());
        if (client->IsMember(cache->GetProjectId()))
            return false;
    } catch (const OV::Exception&) {
        return false;
    }
    cache->SetSessionId({});
    context.output.Notice("The session went with your membership.");
    return true;
}

void RunClose(const ProjectArguments& arguments, Context& context)
{
    // The URL is taken apart before anybody is asked for a password.
    const auto described = arguments.Describe();
    SYC::ClientProjectConnectionManager lookUp(SYC::ToSyncraLocation(described),
                                               context.DataFolder(), {});
    if (lookUp.GetSessionId().empty()) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("There is no session to close: no cache in \"" +
                             ForDisplay(context.DataFolder().ToPath()) + "\" holds one for " +
                             DescribeLogin(described) + ".");
        return;
    }
    SYC::ClientProjectConnectionManager manager(SYC::ToSyncraLocation(arguments.Read()),
                                                context.DataFolder(), {});
    const auto session = manager.GetSessionId();
    context.output.Progress("Closing the session of " + DescribeLogin(described) + " ...");
    SYC::Failure failure;
    const bool closed =
        SYC::CloseSession(manager, failure) || ForgetWithoutMembership(manager, context);
    context.exitCode = closed ? ExitCode::Success : ExitCodeOf(failure);
    if (context.output.json)
        context.output.PrintJson({{"closed", closed}, {"session", ForJson(session)}});
    else if (closed)
        context.output.PrintLine("Closed \"" + ForDisplay(described.projectName) + "\".");
    if (!closed)
        context.output.Error("The session could not be closed and stays in the cache: " +
                             ForDisplay(failure.sentence) + " " + ForDisplay(failure.advice));
    if (const auto cache = manager.FindCache())
        ReportUnwritten(*cache, context);
}

}  // namespace

void DeclareClose(CLI::App& command, Context& context)
{
    DefineCommand(command, context, &RunClose);
}
