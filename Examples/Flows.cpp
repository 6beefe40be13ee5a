// What a user does before he works: finds his server, signs in, looks for his project, joins it,
// and leaves it again. All without a window, by flows; a host with windows shows their states, or
// takes the library's dialogs.
#include "BrowseProject.hpp"
#include "ConnectToServer.hpp"
#include "Example.hpp"
#include "Flow/OwnExecutors.hpp"
#include "JoinProject.hpp"
#include "JoinedProject.hpp"
#include "LeaveProject.hpp"
#include "SYClientProjectDiscovery.hpp"
#include "SyncraURL.hpp"

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        const auto url = Example::ProjectUrl(arguments[1]);
        const auto place = SYC::ToCheckedConnectionInfo(url);
        const auto folder = SYC::RegisteredProjects::GetDefaultDataFolder();
        SYC::OwnExecutors executors;

        SYC::ConnectToServer connect(executors);
        connect.Connect({place.serverName, place.port, place.userName, place.password}, false);
        Example::Await(connect);

        SYC::SYClientProjectDiscovery servers(folder, executors);
        servers.Refresh();
        Example::Await(servers);
        for (const auto& server : servers.GetServers())
            std::cout << "server " << OV::ToUtf8(server.host) << ':' << server.port << '\n';

        SYC::BrowseProject browse(connect.GetLogin(), folder, executors);
        browse.Refresh();
        Example::Await(browse);
        for (const auto& project : browse.GetProjects())
            std::cout << OV::ToUtf8(project.name) << ": " << project.members << " members, "
                      << project.atWork << " at work\n";

        {
            SYC::JoinProject join(url, folder, executors);
            join.Join();
            Example::Await(join);
            const auto project = join.TakeProject();
            std::cout << "joined with " << project->GetMembers().GetUserDataTable().size()
                      << " members\n";
        }
        SYC::LeaveProject leave(url, folder, executors);
        leave.Look();
        Example::Await(leave);
        if (leave.GetFound()->hasUnsentWork)
            throw OV::Exception(OV::StringView("Send what waits, or agree to lose it."));
        leave.Leave({.removeCache = true});
        Example::Await(leave);
        std::cout << "left\n";
        return 0;
    });
}
