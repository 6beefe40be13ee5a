#include "AdminSession.hpp"
#include "Commands.hpp"

#include <CLI/CLI.hpp>

namespace {

using ManagementCore::UserRepositoryManager;

struct NoArguments {
    void AddOptions(CLI::App&) {}
};

void Tell(AdminSession& session, const NoArguments&)
{
    Management::User user;
    session.Do(session.Users(), &UserRepositoryManager::FindUserByLoginName,
               OV::FromUtf8(session.Server().user), user);
    Json groups = Json::array();
    std::string names;
    for (const auto& id : user.groups) {
        const auto name = session.groups.NameOf(id);
        groups.push_back(ForJson(name));
        names += (names.empty() ? "" : ", ") + ForDisplay(name);
    }
    const Output& output = session.GetContext().output;
    if (output.json)
        output.PrintJson({{"user", ForJson(user.loginName)},
                          {"fullName", ForJson(user.fullName)},
                          {"email", ForJsonOrNull(user.email)},
                          {"groups", std::move(groups)},
                          {"server", session.Server().server},
                          {"port", session.Server().port}});
    else
        output.PrintFields(
            {{"user", ForDisplay(user.loginName)},
             {"name", ForDisplay(user.fullName)},
             {"email", ForDisplay(user.email)},
             {"groups", names},
             {"server", session.Server().server + ":" + std::to_string(session.Server().port)}});
}

}  // namespace

void DeclareWhoAmI(CLI::App& command, Context& context)
{
    command.footer("\"syclient password change\" changes your password on the server.");
    DefineAdminAction(command, context, &Tell);
}
