#pragma once

#include "Link.hpp"

#include "Support/ChildProcess.hpp"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <vector>

namespace Load {

/// What a program prints, standard error included.
inline std::string OutputOf(const std::string& command)
{
    FILE* const output = popen((command + " 2>&1").c_str(), "r");
    std::string text;
    for (int byte; output != nullptr && (byte = std::fgetc(output)) != EOF;)
        text.push_back(static_cast<char>(byte));
    if (output != nullptr)
        pclose(output);
    return text;
}

/// A server program of any time, and what it can.
class Program {
public:
    explicit Program(std::string path) : path_(std::move(path)), help_(OutputOf(path_ + " --help"))
    {
        if (help_.find("--data") == std::string::npos)
            throw std::runtime_error("\"" + path_ + "\" is no server: " + help_);
    }
    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] bool Knows(const std::string& option) const
    {
        return help_.find(option) != std::string::npos;
    }
    [[nodiscard]] bool KnowsTls() const { return Knows("--certificate"); }

private:
    std::string path_;
    std::string help_;
};

/// A server that runs on a store, with free ports; killed with this object.
class MeasuredServer {
public:
    /// Takes those of the options that the program knows, each as "--name=value".
    MeasuredServer(const Program& program, const std::filesystem::path& store,
                   const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments{program.Path(), "--data", store, "--port", "0"};
        for (const auto& option : options)
            if (program.Knows(option.substr(0, option.find('='))))
                arguments.push_back(option);
        int output[2];
        if (pipe2(output, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe can be made");
        process_.emplace([&] {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(output[1], STDOUT_FILENO);
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
            std::vector<char*> pointers;
            for (auto& argument : arguments)
                pointers.push_back(argument.data());
            pointers.push_back(nullptr);
            return execv(program.Path().c_str(), pointers.data());
        });
        close(output[1]);
        std::string line;
        for (char byte = 0; read(output[0], &byte, 1) == 1 && byte != '\n';)
            line.push_back(byte);
        close(output[0]);
        unsigned port = 0;
        if (std::sscanf(line.c_str(), "nexar-server ready: model 127.0.0.1:%u", &port) != 1)
            throw std::runtime_error("\"" + program.Path() + "\" did not start.");
        port_ = static_cast<std::uint16_t>(port);
    }

    [[nodiscard]] std::uint16_t Port() const { return port_; }
    [[nodiscard]] double MebibytesOfMemory() const
    {
        std::ifstream status("/proc/" + std::to_string(process_->Id()) + "/status");
        for (std::string word; status >> word;)
            if (double kibibytes = 0; word == "VmRSS:" && status >> kibibytes)
                return kibibytes / 1024;
        return 0;
    }
    /// Asks it to end; the seconds that it took.
    double Stop()
    {
        const auto begin = std::chrono::steady_clock::now();
        process_->Signal(SIGTERM);
        process_->Wait();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }

private:
    std::optional<ChildProcess> process_;
    std::uint16_t port_ = 0;
};

}  // namespace Load
