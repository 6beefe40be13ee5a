// Waits until somebody who manages the members ends the user's session ("syclient sessions end"
// does).
#include "Example.hpp"
#include "SessionWatch.hpp"
#include "SyncraProtocol/Session.hpp"

namespace {

class Notice : public SYC::SessionEndObserver {
public:
    explicit Notice(SYC::SessionWatch& watch) : subscription_(watch.Subscribe(*this)) {}

    bool isTold = false;

private:
    void _SessionEnded(const Syncra::Protocol::SessionEnd& end) override
    {
        std::cout << OV::ToUtf8(end.endedByName)
                  << " ended your session: " << OV::ToUtf8(end.reason) << '\n';
        isTold = true;
    }

    OV::Subscription subscription_;
};

}  // namespace

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        SYCB::MessageLoopExecutor mainThread;
        Example::OpenedProject project(arguments[1]);
        project.manager.StartSignals(project.projectId);
        {
            SYC::SessionWatch watch(project.manager.GetSignalClient(), project.manager, mainThread);
            const Notice notice(watch);
            std::cout << "watching" << std::endl;
            Example::RunUntil([&] { return notice.isTold; }, "nobody ended the session");
        }
        project.manager.StopSignals();
        return 0;
    });
}
