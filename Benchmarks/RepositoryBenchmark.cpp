// A large list of users as records beside the bare request of the same answer.
#include "BareClient.hpp"
#include "Beside.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

namespace {

using namespace Syncra::Server::Management;

constexpr int UserCount = 10'000;

void ReadUsers(benchmark::State& state)
{
    const TemporaryFolder folder;
    const ServerProcess server(folder.Path());
    EditStore(
        server.StorePath(),
        "WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < " +
            std::to_string(UserCount) +
            ") INSERT INTO users (id, login, full_name, password_hash, color) "
            "SELECT printf('00000000-0000-4000-8000-%012d', n), 'user.' || n, "
            "'User Number ' || n, '', n FROM numbers");
    const auto port = std::to_string(server.ManagementPort());
    const auto repository = CreateUserRepository(
        u"WBEM",
        {{PropertyNames::UserRepositoryUrl,
          OV::FromUtf8("http://127.0.0.1:" + port + "/root/syncrav2")},
         {PropertyNames::UserRepositoryPrincipal, u"admin"},
         {PropertyNames::UserRepositoryCredentials, OV::FromUtf8(ServerProcess::Password)}});
    BareClient bare(server.ManagementPort());
    bare.SignIn("admin");
    Beside(state, "reading 10,000 users", "the same request by curl", 1.15)
        .Run(
            [&] {
                if (repository->Users().List().size() < UserCount)
                    state.SkipWithError("users are missing");
            },
            [&] { benchmark::DoNotOptimize(bare.Get("/root/syncrav2/users")); });
}
BENCHMARK(ReadUsers)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
