#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// A real nexar-server with the sample team, on free loopback ports and a store of its own; ended by its
/// process id with this object.
class ServerProcess {
public:
    static constexpr const char* Password = "nexar-sample";

    /// The store stands in `folder`, and so does "server.log" with what the server says.
    explicit ServerProcess(std::filesystem::path folder) : folder_(std::move(folder)) { Start(); }
    ~ServerProcess() { Kill(); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    [[nodiscard]] std::uint16_t ModelPort() const { return ports_[0]; }
    [[nodiscard]] std::uint16_t ManagementPort() const { return ports_[1]; }
    [[nodiscard]] std::uint16_t MessagingPort() const { return ports_[2]; }
    [[nodiscard]] std::filesystem::path StorePath() const { return folder_ / "store.db"; }
    [[nodiscard]] std::filesystem::path LogPath() const { return folder_ / "server.log"; }

    /// Starts again on the same ports and store.
    void Start()
    {
        std::array<int, 2> pipe{};
        if (pipe2(pipe.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        const auto arguments = Arguments();
        id_ = fork();
        if (id_ == 0)
            Execute(pipe[1], arguments);
        close(pipe[1]);
        ReadPorts(pipe[0]);
        close(pipe[0]);
    }

    void Kill() { End(SIGKILL); }
    /// Asks it to end; its exit code, or -1.
    int Terminate() { return End(SIGTERM); }
    void Pause() const { kill(id_, SIGSTOP); }
    void Resume() const { kill(id_, SIGCONT); }

private:
    [[nodiscard]] std::vector<std::string> Arguments() const
    {
        return {SYCLIENT_TEST_SERVER, "--data", StorePath(), "--sample", "--hash", "minimum",
                "--port", std::to_string(ports_[0]), "--management-port", std::to_string(ports_[1]),
                "--messaging-port", std::to_string(ports_[2])};
    }

    [[noreturn]] void Execute(int output, const std::vector<std::string>& arguments) const
    {
        std::vector<char*> pointers;
        for (const auto& argument : arguments)
            pointers.push_back(const_cast<char*>(argument.c_str()));
        pointers.push_back(nullptr);
        const int log = open(LogPath().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        dup2(output, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        execv(pointers[0], pointers.data());
        _exit(127);
    }

    void ReadPorts(int input)
    {
        std::string line;
        char letter = 0;
        while (read(input, &letter, 1) == 1 && letter != '\n')
            line.push_back(letter);
        static const std::regex ready(
            R"(nexar-server ready: model \S+:(\d+) management \S+:(\d+) messaging \S+:(\d+))");
        std::smatch match;
        if (!std::regex_match(line, match, ready)) {
            Kill();
            throw std::runtime_error("nexar-server did not start: \"" + line + "\"");
        }
        for (std::size_t i = 0; i < ports_.size(); ++i)
            ports_[i] = static_cast<std::uint16_t>(std::stoi(match[i + 1]));
    }

    int End(int signal)
    {
        if (id_ <= 0)
            return -1;
        kill(id_, SIGCONT);
        kill(id_, signal);
        int status = 0;
        waitpid(id_, &status, 0);
        id_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::filesystem::path folder_;
    pid_t id_ = 0;
    std::array<std::uint16_t, 3> ports_{};
};
