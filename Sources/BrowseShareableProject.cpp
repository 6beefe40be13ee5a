#include "BrowseShareableProject.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/Repositories.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

#include <algorithm>

namespace SYC {

namespace {

namespace Management = Syncra::Server::Management;

bool MayShare(const OV::Array<OV::UniString>& groups)
{
    return std::any_of(groups.begin(), groups.end(), [](const OV::UniString& group) {
        return group == Management::BuiltInGroups::ProjectManagers ||
               group == Management::BuiltInGroups::Administrators;
    });
}

ShareableServer ReadServer(const Syncra::Client::SignInData& login)
{
    ShareableServer server;
    const auto projects = ConnectRepository<Management::ProjectRepository>(login);
    server.projects = projects->Projects().List();
    server.categories = projects->Categories().List();
    const auto users = ConnectRepository<Management::UserRepository>(login);
    server.roles = users->Roles().List();
    server.users = users->Users().List();
    std::erase_if(server.users, [](const auto& user) { return !user.enabled; });
    server.mayShare = MayShare(users->GetUserGroups(login.userName));
    return server;
}

}  // namespace

void BrowseShareableProject::Refresh()
{
    Start([this, login = login_](const Report& report) -> Result {
        report(GetText(FlowText::AskForProjects));
        return {[this, server = ReadServer(login)] { server_ = server; }, {}};
    });
}

}  // namespace SYC
