// A whole check of a project connection beside the same requests made with bare libcurl.
#include "BareClient.hpp"
#include "Beside.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "ReadProjectConnection.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraURL.hpp"

#include <memory>

namespace {

/// A server, a project that was opened before, and what a check asks about it.
struct Scene {
    Scene()
    {
        SYC::Inner::ProjectConnectionInfo info;
        info.serverName = u"127.0.0.1";
        info.port = server.ModelPort();
        info.userName = u"anna.novak";
        info.password = OV::FromUtf8(ServerProcess::Password);
        info.projectName = u"Harbour Bridge";
        manager = std::make_unique<SYC::ClientProjectConnectionManager>(
            SYC::ToSyncraLocation(info), folder.GetLocation(), nullptr);
        SYC::ReadProjectConnection connection(manager.get());
        if (connection.Check(true, false, false, false) != SYC::CheckResult::Passed)
            std::abort();
        const auto project = "/syncra/v1/projects/" + OV::ToUtf8(connection.GetProjectId());
        targets = {"/syncra/v1/projects", project + "/membership", project + "/sessions",
                   "/syncra/v1/sessions/" + OV::ToUtf8(connection.GetSessionId()) +
                       "/attributes/ComputerName"};
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    std::unique_ptr<SYC::ClientProjectConnectionManager> manager;
    std::vector<std::string> targets;
};

void CheckWithSignIn(benchmark::State& state)
{
    Scene scene;
    Beside(state, "a check of a project, with sign-in",
           "its six requests by curl, sign-out included", 1.1)
        .Run(
            [&] {
                SYC::ReadProjectConnection connection(scene.manager.get());
                if (connection.Check(true, false, false, false) != SYC::CheckResult::Passed)
                    state.SkipWithError("the check failed");
            },
            [&] {
                BareClient client(scene.server.ModelPort());
                client.SignIn();
                for (const auto& target : scene.targets)
                    client.Get(target);
                client.SignOut();
            });
}
BENCHMARK(CheckWithSignIn)->UseManualTime()->Unit(benchmark::kMicrosecond);

void CheckOnKeptConnection(benchmark::State& state)
{
    Scene scene;
    SYC::ReadProjectConnection connection(scene.manager.get());
    BareClient client(scene.server.ModelPort());
    client.SignIn();
    Beside(state, "a check on a kept connection", "its four requests by curl", 1.05)
        .Run(
            [&] {
                if (connection.Check(false, false, false, false) != SYC::CheckResult::Passed)
                    state.SkipWithError("the check failed");
            },
            [&] {
                for (const auto& target : scene.targets)
                    client.Get(target);
            });
}
BENCHMARK(CheckOnKeptConnection)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
