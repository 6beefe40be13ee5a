// Opens a project without blocking the main thread, shows each step, and can be cancelled. In a
// host with Qt the loop below is QApplication::exec(), once a Dlg::QtToolkit was made.
#include "Example.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "StartCheck.hpp"

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        SYC::ClientProjectConnectionManager manager(
            Example::ProjectUrl(arguments[1]), SYC::RegisteredProjects::GetDefaultDataFolder(), {});
        SYCB::MessageLoopExecutor mainThread;
        OV::PooledExecutor worker(0, 1, 0);
        std::stop_source cancel;  // cancel.request_stop() ends the check within 100 ms

        SYC::CheckOptions options;
        options.stop = cancel.get_token();
        options.progress = [](SYC::CheckStep step) {
            std::cout << OV::ToUtf8(SYC::ToText(step)) << " ..." << std::endl;
        };
        int exitCode = -1;
        SYC::StartCheck(std::make_shared<SYC::ReadProjectConnection>(&manager), options, worker,
                        mainThread, [&](SYC::CheckResult result, const SYC::Failure& failure) {
                            std::cout << OV::ToUtf8(SYC::ToText(result)) << '\n';
                            if (failure)
                                std::cout << OV::ToUtf8(failure.sentence) << '\n'
                                          << OV::ToUtf8(failure.advice) << '\n'
                                          << (failure.mayTryAgain ? "try again" : "") << '\n';
                            exitCode = failure ? 1 : 0;
                        });
        Example::RunUntil([&] { return exitCode >= 0; }, "the check does not end");
        return exitCode;
    });
}
