#pragma once

#include "Context.hpp"

namespace CLI {
class App;
}

/// Adds the commands of the first level to `app`, which ends before `context`. What stands below
/// one of them is declared when the command line names it.
void AddCommands(CLI::App& app, Context& context);
/// Declares what stands below one of them that the command line did not name.
void DeclareBelow(CLI::App& command, Context& context);

/// Each declares one of them: its options, its action and its subcommands.
void DeclareCompletion(CLI::App& command, Context& context);
void DeclareManual(CLI::App& command, Context& context);
void DeclareDiagnose(CLI::App& command, Context& context);
void DeclareLogin(CLI::App& command, Context& context);
void DeclareProfile(CLI::App& command, Context& context);
void DeclareWhoAmI(CLI::App& command, Context& context);
void DeclareOpen(CLI::App& command, Context& context);
void DeclareClose(CLI::App& command, Context& context);
void DeclareCloseProject(CLI::App& command, Context& context);
void DeclareStatus(CLI::App& command, Context& context);
void DeclareCache(CLI::App& command, Context& context);
void DeclareMembers(CLI::App& command, Context& context);
void DeclareMail(CLI::App& command, Context& context);
void DeclareLog(CLI::App& command, Context& context);
void DeclareServer(CLI::App& command, Context& context);
void DeclarePassword(CLI::App& command, Context& context);
void DeclareAuthenticate(CLI::App& command, Context& context);
void DeclareUrl(CLI::App& command, Context& context);
void DeclareProjects(CLI::App& command, Context& context);
void DeclareOptions(CLI::App& command, Context& context);
void DeclarePhoto(CLI::App& command, Context& context);
void DeclareUsers(CLI::App& command, Context& context);
void DeclareRoles(CLI::App& command, Context& context);
void DeclareGroups(CLI::App& command, Context& context);
void DeclarePermissions(CLI::App& command, Context& context);
void DeclarePermissionSets(CLI::App& command, Context& context);
void DeclareProperties(CLI::App& command, Context& context);
void DeclareCategories(CLI::App& command, Context& context);
void DeclareSessions(CLI::App& command, Context& context);
void DeclareModules(CLI::App& command, Context& context);
void DeclareBrowse(CLI::App& command, Context& context);
void DeclareJoin(CLI::App& command, Context& context);
void DeclareLeave(CLI::App& command, Context& context);
void DeclareShare(CLI::App& command, Context& context);
/// "server find".
void AddFindServers(CLI::App& server, Context& context);
/// Those of "server" for trust.
void AddTrustCommands(CLI::App& server, Context& context);
