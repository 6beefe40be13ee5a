// Whole processes from their start to their end.
#include "BareClient.hpp"
#include "Beside.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace {

constexpr int Block = 5;

/// Runs a program without output and waits for its end.
void Spawn(std::vector<std::string> words)
{
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0 || waitpid(child, &status, 0) != child || status != 0)
        throw std::runtime_error("cannot run " + words[0]);
}

void StartBesideCurl(benchmark::State& state)
{
    Beside(state, "syclient --version", "curl --version", 0.9)
        .Run(
            [] {
                Spawn({SYCLIENT_TEST_CLI, "--version"});
            },
            [] {
                Spawn({"curl", "--version"});
            },
            Block);
}
BENCHMARK(StartBesideCurl)->UseManualTime()->Unit(benchmark::kMillisecond);

/// A project that was opened before.
void OpenBesideCurl(benchmark::State& state)
{
    const TemporaryFolder folder;
    const ServerProcess server(folder.Path());
    const auto base = "http://127.0.0.1:" + std::to_string(server.ModelPort());
    const auto passwordFile = folder.Path() / "password";
    std::ofstream(passwordFile) << ServerProcess::Password;
    const std::vector<std::string> open = {
        SYCLIENT_TEST_CLI, "open", "--password-file", passwordFile,
        "syncra://anna.novak@127.0.0.1:" + std::to_string(server.ModelPort()) +
            "/Harbour%20Bridge"};
    Spawn(open);
    BareClient bare(server.ModelPort());
    const auto token = "Authorization: Bearer " + bare.SignIn();
    const std::string project = base + "/syncra/v1/projects/6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";
    const std::vector<std::string> curl = {
        "curl", "-s", "-H", token, "-H", "Content-Type: application/json", "-d",
        R"({"password":")" + std::string(ServerProcess::Password) +
            R"(","protocol":1,"userName":"anna.novak"})",
        base + "/syncra/v1/sign-in", "--next", "-s", "-H", token, base + "/syncra/v1/projects",
        project + "/membership", project + "/sessions", project + "/state",
        // Of no token, since the others need theirs again.
        "--next", "-s", "-d", "{}", "-H", "Content-Type: application/json",
        base + "/syncra/v1/sign-out"};
    Beside(state, "syclient open", "curl makes the same six requests", 1.25)
        .Run([&] { Spawn(open); }, [&] { Spawn(curl); }, Block);
}
BENCHMARK(OpenBesideCurl)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
