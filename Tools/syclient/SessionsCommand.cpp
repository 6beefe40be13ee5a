#include "AdminSession.hpp"
#include "Commands.hpp"
#include "OVRoot/Ascii.hpp"
#include "Question.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

using ManagementCore::ProjectRepositoryManager;
using Session = Syncra::Protocol::SessionAtWork;

OV::Array<Session> Fetch(AdminSession& session, const std::string& project)
{
    OV::UniString id;
    if (!project.empty()) {
        Management::V2::Project found;
        session.Do(session.Projects(), &ProjectRepositoryManager::FindProject,
                   OV::FromUtf8(project), found);
        id = found.id;
    }
    OV::Array<Session> sessions;
    session.Do(session.Projects(), &ProjectRepositoryManager::GetSessions, id, sessions);
    return sessions;
}

struct ListArguments {
    std::string project;

    void AddOptions(CLI::App& command)
    {
        command.add_option("--of-project", project, "Those in one project alone")
            ->option_text("NAME");
    }
};

void List(AdminSession& session, const ListArguments& arguments)
{
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows{
        {"PROJECT", "USER", "NAME", "ROLE", "SINCE", "ON", "TYPE", "ID"}};
    for (const auto& each : Fetch(session, arguments.project)) {
        rows.push_back({ForDisplay(each.projectName), ForDisplay(each.loginName),
                        ForDisplay(each.userName), ForDisplay(each.roleName),
                        TimeForDisplay(each.startTime), ForDisplay(each.computer),
                        ForDisplay(each.type), ForDisplay(each.id)});
        list.push_back({{"id", ForJson(each.id)},
                        {"project", ForJson(each.projectName)},
                        {"user", ForJson(each.loginName)},
                        {"fullName", ForJson(each.userName)},
                        {"role", ForJson(each.roleName)},
                        {"since", each.startTime},
                        {"computer", ForJsonOrNull(each.computer)},
                        {"type", ForJson(each.type)}});
    }
    const Output& output = session.GetContext().output;
    if (output.json)
        output.PrintJson({{"sessions", std::move(list)}});
    else if (rows.size() == 1)
        output.PrintLine("Nobody works in a project whose members you manage.");
    else
        output.PrintTable(rows);
}

struct EndArguments {
    std::string which;
    std::string project;
    std::string reason;
    bool yes = false;

    void AddOptions(CLI::App& command)
    {
        command.add_option("session", which, "Id of the session, or the login name of its user")
            ->required()
            ->option_text("SESSION");
        command.add_option("--of-project", project, "The project that he works in")
            ->option_text("NAME");
        command.add_option("--reason", reason, "What its owner is told")->option_text("TEXT");
        command.add_flag("-y,--yes", yes, "Do not ask");
    }
};

/// The only one that `arguments` can mean.
Session Choose(AdminSession& session, const EndArguments& arguments)
{
    constexpr std::size_t shortestBeginning = 6;
    const auto wanted = OV::FromUtf8(arguments.which);
    auto sessions = Fetch(session, arguments.project);
    std::erase_if(sessions, [&](const Session& each) {
        return !OV::EqualsIgnoreCase(each.loginName, wanted) &&
               (wanted.size() < shortestBeginning ||
                !OV::EqualsIgnoreCase(each.id.substr(0, wanted.size()), wanted));
    });
    if (sessions.size() == 1)
        return sessions.front();
    throw CommandFailure(
        sessions.empty() ? ExitCode::NotFound : ExitCode::Usage,
        (sessions.empty() ? u"There is no session \"" : u"More than one session is \"") + wanted +
            u"\" that you may end. \"syclient sessions list\" shows them.");
}

/// Asked twice: what somebody has not sent is not lost, but he is in the middle of it.
void Confirm(const Session& chosen)
{
    const auto user = ForDisplay(chosen.loginName);
    Question::Require("End the session of " + user + " in \"" + ForDisplay(chosen.projectName) +
                      "\", who has worked since " + TimeForDisplay(chosen.startTime) +
                      (chosen.computer.empty() ? "" : " on " + ForDisplay(chosen.computer)) +
                      "? What is not sent yet stays on that computer.");
    if (Question::Ask("To end the session, type the login name of its user", "") !=
        OV::ToUtf8(chosen.loginName))
        throw CommandFailure(ExitCode::Failure, u"That is another name; nothing was ended.");
}

void End(AdminSession& session, const EndArguments& arguments)
{
    const auto chosen = Choose(session, arguments);
    if (!arguments.yes)
        Confirm(chosen);
    session.Do(session.Projects(), &ProjectRepositoryManager::EndSession, chosen.id,
               OV::FromUtf8(arguments.reason));
    const Output& output = session.GetContext().output;
    if (output.json)
        output.PrintJson({{"ended", ForJson(chosen.id)}, {"user", ForJson(chosen.loginName)}});
    else
        output.PrintLine("Ended the session of " + ForDisplay(chosen.loginName) + " in \"" +
                         ForDisplay(chosen.projectName) + "\".");
}

}  // namespace

void DeclareSessions(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    AddAdminAction(command, context, "list", "Who works in the projects whose members you manage",
                   &List);
    AddAdminAction(command, context, "end", "End somebody's session; he is told, with the reason",
                   &End);
}
