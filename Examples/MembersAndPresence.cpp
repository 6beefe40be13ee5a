// Shows who belongs to an open project, who works in it, and who is present on the server.
#include "Example.hpp"
#include "Messaging/ProjectMembers.hpp"
#include "PresenceManager/PresenceManager.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SyncraURL.hpp"

namespace {

struct View : SYC::ProjectMembersObserver {
    void _ProjectMembersChanged(SYC::ProjectMembers& members) override
    {
        for (const auto& [id, user] : members.GetUserDataTable())
            std::cout << OV::ToUtf8(user.GetFullName())
                      << (user.HasNormalSession() ? " (working)" : "") << '\n';
        isKnown = true;
    }
    bool isKnown = false;
};

}  // namespace

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        SYCB::MessageLoopExecutor mainThread;
        Example::OpenedProject project(arguments[1]);
        project.manager.StartSignals(project.projectId);
        SYC::ProjectMembers members(project.manager.GetSignalClient(), project.manager, mainThread);
        View view;
        const auto subscription = members.Subscribe(view);
        members.Init();
        Example::RunUntil([&] { return view.isKnown; }, "the members cannot be had");

        // The port is the model service's, the ids are login names. Blocks until the first answer:
        // a host with a window does this on a worker.
        const auto info = SYC::ToConnectionInfo(project.manager.GetProjectLocation());
        auto& presence = SYC::PresenceManager::GetInstance();
        presence.SetTargetServer(info.serverName, info.port, info.userName, info.password);
        std::cout << presence.GetActivePresenceIds().size() << " present\n";
        presence.StopPresenceCheck();
        project.manager.StopSignals();
        return 0;
    });
}
