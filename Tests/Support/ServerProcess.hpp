#pragma once

#include "Support/ChildProcess.hpp"
#include "Support/FileBytes.hpp"
#include "Support/PostgresCluster.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <vector>

/// A real nexar-server on free ports of 127.0.0.1 with its store, and what it writes to standard
/// error, in a folder of the test. It is ended with this object, and with the test program however
/// that ends: the starting thread must outlive it.
class ServerProcess {
public:
    static constexpr int EndedBySignal = ChildProcess::EndedBySignal;
    /// Everybody of the sample team signs in with it.
    static constexpr const char* Password = "nexar-sample";

    /// Returns once the server listens. `options` follow those for the store and the ports; without
    /// "--hash" among them password hashes are cheap. Throws std::runtime_error with what the
    /// server said when it does not start.
    explicit ServerProcess(const std::filesystem::path& folder,
                           std::vector<std::string> options = {"--sample", "--sample-lines", "0"})
        : folder_(folder), options_(std::move(options))
    {
        Start();
    }
    ~ServerProcess() { Kill(); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    [[nodiscard]] std::uint16_t ModelPort() const { return ports_[0]; }
    [[nodiscard]] std::uint16_t ManagementPort() const { return ports_[1]; }
    [[nodiscard]] std::uint16_t MessagingPort() const { return ports_[2]; }
    [[nodiscard]] std::filesystem::path StorePath() const { return folder_ / "store.db"; }
    /// As a server is told of a store: that path, or the URL of the database in its place.
    [[nodiscard]] static std::string StoreName(const std::filesystem::path& path)
    {
        return PostgresCluster::IsWanted() ? PostgresCluster::Get().DatabaseOf(path)
                                           : path.string();
    }
    /// All that it wrote to standard error, over every start.
    [[nodiscard]] std::filesystem::path LogPath() const { return folder_ / "server.log"; }
    [[nodiscard]] const std::string& ReadyLine() const { return readyLine_; }
    [[nodiscard]] std::string Log() const { return ReadBytes(LogPath()); }

    [[nodiscard]] pid_t Id() const { return server_->Id(); }

    /// Ends it at once, as a crash would.
    void Kill() { (void)End(SIGKILL); }
    /// Asks it to end and waits; its exit code, or EndedBySignal.
    int Terminate() { return End(SIGTERM); }
    /// Asks it to end and does not wait.
    void Ask(int signal) const
    {
        if (server_)
            server_->Signal(signal);
    }
    void Pause() const { Ask(SIGSTOP); }
    void Resume() const { Ask(SIGCONT); }
    [[nodiscard]] bool IsRunning() const { return server_ && server_->IsRunning(); }
    /// Starts it again, after its end, with the same store on the same ports.
    void Start()
    {
        if (PostgresCluster::IsWanted() && HasPlainSample())
            (void)PostgresCluster::Get().DatabaseOf(StorePath(), DatabaseWithSample());
        std::vector<std::string> arguments{
            "--store", StoreName(StorePath()), "--port", std::to_string(ports_[0]),
            // 0 follows the model port, which is itself 0 the first time.
            "--management-port", std::to_string(ports_[1]), "--messaging-port",
            std::to_string(ports_[2])};
        arguments.insert(arguments.end(), options_.begin(), options_.end());
        if (std::find(options_.begin(), options_.end(), "--hash") == options_.end())
            arguments.insert(arguments.end(), {"--hash", "minimum"});
        int output[2];
        if (pipe2(output, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe can be made");
        const int errors = open(LogPath().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        server_.emplace(Spawn(arguments, -1, output[1], errors));
        close(output[1]);
        close(errors);
        readyLine_ = ReadLine(output[0]);
        close(output[0]);
        TakePorts();
    }
    /// Runs the program with these arguments to its end; the exit code.
    static int Run(const std::vector<std::string>& arguments, const std::filesystem::path& input,
                   const std::filesystem::path& output)
    {
        const int in = open(input.c_str(), O_RDONLY | O_CLOEXEC);
        const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ChildProcess program = Spawn(arguments, in, out, out);
        close(in);
        close(out);
        return program.Wait();
    }

private:
    static constexpr int StartMilliseconds = 60'000;

    /// What the fixtures' servers begin with.
    [[nodiscard]] bool HasPlainSample() const
    {
        const std::string sample[] = {"--sample", "--sample-lines", "0"};
        return std::search(options_.begin(), options_.end(), std::begin(sample),
                           std::end(sample)) != options_.end();
    }
    /// A database that holds it, for copies: filling each anew would take most of the tests' time.
    static const std::string& DatabaseWithSample()
    {
        static const std::string name = [] {
            auto& cluster = PostgresCluster::Get();
            PostgresCluster::Ask(cluster.UrlOf("postgres"), "CREATE DATABASE sample");
            int output[2];
            if (pipe2(output, O_CLOEXEC) != 0)
                throw std::runtime_error("no pipe can be made");
            ChildProcess server = Spawn({"--store", cluster.UrlOf("sample"), "--sample",
                                         "--sample-lines", "0", "--hash", "minimum", "--port", "0"},
                                        -1, output[1], output[1]);
            close(output[1]);
            while (server.IsRunning() && ReadLine(output[0]).find(" ready: ") == std::string::npos)
                continue;
            close(output[0]);
            server.Signal(SIGTERM);
            server.Wait();
            return std::string("sample");
        }();
        return name;
    }

    static ChildProcess Spawn(const std::vector<std::string>& arguments, int input, int output,
                              int errors)
    {
        std::vector<char*> pointers{const_cast<char*>(SYCLIENT_TEST_SERVER)};
        for (const auto& argument : arguments)
            pointers.push_back(const_cast<char*>(argument.c_str()));
        pointers.push_back(nullptr);
        return ChildProcess([&] {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (input >= 0)
                dup2(input, STDIN_FILENO);
            dup2(output, STDOUT_FILENO);
            dup2(errors, STDERR_FILENO);
            return execv(SYCLIENT_TEST_SERVER, pointers.data());
        });
    }

    static std::string ReadLine(int input)
    {
        std::string line;
        pollfd waiting{input, POLLIN, 0};
        char byte = 0;
        while (poll(&waiting, 1, StartMilliseconds) > 0 && read(input, &byte, 1) == 1 &&
               byte != '\n')
            line.push_back(byte);
        return line;
    }

    void TakePorts()
    {
        unsigned model = 0, management = 0, messaging = 0;
        if (std::sscanf(readyLine_.c_str(),
                        "nexar-server ready: model 127.0.0.1:%u management 127.0.0.1:%u messaging "
                        "127.0.0.1:%u",
                        &model, &management, &messaging) != 3) {
            Kill();
            throw std::runtime_error("nexar-server did not start: " + Log());
        }
        ports_[0] = static_cast<std::uint16_t>(model);
        ports_[1] = static_cast<std::uint16_t>(management);
        ports_[2] = static_cast<std::uint16_t>(messaging);
    }

    int End(int signal)
    {
        if (!server_)
            return EndedBySignal;
        server_->Signal(SIGCONT);
        server_->Signal(signal);
        const int code = server_->Wait();
        server_.reset();
        return code;
    }

    std::filesystem::path folder_;
    std::vector<std::string> options_;
    std::uint16_t ports_[3] = {0, 0, 0};
    std::string readyLine_;
    std::optional<ChildProcess> server_;
};
