// Follows whether the server of an open project can be worked with, works offline for a while, and
// tries at once to come back.
#include "Example.hpp"

#include <vector>

namespace {

class View : public SYCB::PresenceServiceObserver {
public:
    View(SYCB::PresenceService& presence, OV::Executor& mainThread)
        : subscription_(presence.Subscribe(*this, mainThread))
    {}

    std::vector<std::string> shown;

private:
    /// On the main thread, since the subscription names its executor.
    void _ServiceStateChanged(SYCB::PresenceService&, SYCB::PresenceState state) override
    {
        shown.push_back(state == SYCB::PresenceState::Online ? "online" : "offline");
        std::cout << shown.back() << std::endl;
    }

    OV::Subscription subscription_;  // last: ends before anything that a notification needs
};

}  // namespace

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        SYCB::MessageLoopExecutor mainThread;
        Example::OpenedProject project(arguments[1]);
        auto& signals = project.manager.GetSignalClient();
        View view(signals.GetPresenceService(), mainThread);
        project.manager.StartSignals(project.projectId);

        signals.SetForcedOffline(true);  // "Work offline"
        Example::RunUntil([&] { return view.shown.size() == 1; }, "not offline");
        signals.SetForcedOffline(false);  // "Try now"
        Example::RunUntil([&] { return view.shown.size() == 2; }, "not online again");
        project.manager.StopSignals();
        return view.shown == std::vector<std::string>{"offline", "online"} ? 0 : 1;
    });
}
