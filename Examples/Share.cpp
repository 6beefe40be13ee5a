// Shares a new project, changes its settings and deletes it. For administrators and project
// managers; the project of the URL counts for nothing but its server and its user.
#include "BrowseShareableProject.hpp"
#include "CreateNewSyncraProject.hpp"
#include "DeleteProject.hpp"
#include "Example.hpp"
#include "Flow/OwnExecutors.hpp"
#include "SyncraURL.hpp"
#include "UpdateProjectSettings.hpp"

#include <algorithm>

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 2, "PROJECT-URL NAME", [](char** arguments) {
        const auto place = SYC::ToCheckedConnectionInfo(Example::ProjectUrl(arguments[1]));
        const Syncra::Client::SignInData login{place.serverName, place.port, place.userName,
                                               place.password};
        const auto name = OV::FromUtf8(arguments[2]);
        SYC::OwnExecutors executors;

        SYC::BrowseShareableProject server(login, executors);
        server.Refresh();
        Example::Await(server);
        const auto& roles = server.GetServer().roles;
        const auto& users = server.GetServer().users;
        const auto self = std::find_if(users.begin(), users.end(), [&](const auto& user) {
            return user.loginName == login.userName;
        });
        if (self == users.end() || roles.empty())
            throw OV::Exception(OV::StringView("Nobody could open the project."));

        SYC::CreateNewSyncraProject create(login, executors);
        create.SetName(name);
        create.GetData().SetProjectDescription(u"Made by an example.");
        create.SetMembers({{self->id, roles.front().id}});
        create.Create();
        Example::Await(create);
        std::cout << "shared\n";

        server.Refresh();
        Example::Await(server);
        const auto& projects = server.GetServer().projects;
        const auto made = std::find_if(projects.begin(), projects.end(),
                                       [&](const auto& project) { return project.name == name; });
        if (made == projects.end())
            throw OV::Exception(OV::StringView("The project is not listed."));
        auto edited = *made;
        edited.description = u"Changed by an example.";
        SYC::UpdateProjectSettings update(login, *made, executors);
        update.Save(edited);
        Example::Await(update);
        std::cout << OV::ToUtf8(update.GetProject().description) << '\n';

        SYC::DeleteProject remove(login, update.GetProject(), executors);
        remove.Delete();
        Example::Await(remove);
        std::cout << "deleted\n";
        return 0;
    });
}
