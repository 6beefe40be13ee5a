// Lists the users of a server over its management service.
#include "Example.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SyncraURL.hpp"

namespace Core = Syncra::Server::ManagementTool::Core;

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        const auto info = SYC::ToConnectionInfo(Example::ProjectUrl(arguments[1]));
        const std::uint16_t port = SYCB::ServicePortCache::GetInstance().GetServicePort(
            info.serverName, info.port, info.userName, info.password, SYCB::ServiceType::Management,
            true);
        OV::PooledExecutor executor(1, 1, 60'000);
        Core::UserRepositoryManager users(executor);
        OV::Array<Syncra::Server::Management::User> list;
        // Without a dialog toolkit these block; with one they show the communicating dialog.
        if (!users.SetConnection(info.serverName, static_cast<short>(port), info.userName,
                                 info.password, false) ||
            !users.GetUsers(list)) {
            const auto failure = users.GetLastFailure();
            std::cerr << OV::ToUtf8(failure.sentence) << ' ' << OV::ToUtf8(failure.advice) << '\n';
            return 1;
        }
        for (const auto& user : list)
            std::cout << OV::ToUtf8(user.loginName) << '\n';
        return 0;
    });
}
