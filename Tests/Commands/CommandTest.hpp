#pragma once

#include "Support/FileBytes.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>

struct CommandResult {
    int code = -1;
    std::string output;
    std::string errors;
};

inline std::string Quoted(const std::string& argument)
{
    return "'" + argument + "'";
}

/// syclient as a shell runs it, against a real server.
class CommandTest : public testing::Test {
protected:
    CommandTest() { std::ofstream(PasswordFile()) << ServerProcess::Password << "\n"; }

    [[nodiscard]] std::filesystem::path PasswordFile() const { return folder.Path() / "password"; }

    CommandResult Run(const std::vector<std::string>& arguments,
                      const std::string& input = "") const
    {
        return RunIn(folder.Path(), arguments, input);
    }

    /// With the files that catch its output in `place`: for commands that run at the same time.
    /// `runner` is what runs it, with its own arguments.
    static CommandResult RunIn(const std::filesystem::path& place,
                               const std::vector<std::string>& arguments,
                               const std::string& input = "", const std::string& runner = "")
    {
        const auto in = place / "in";
        std::ofstream(in) << input;
        std::string command = runner + Quoted(SYCLIENT_TEST_CLI);
        for (const auto& argument : arguments)
            command += " " + Quoted(argument);
        command += " <" + Quoted(in) + " >" + Quoted(place / "out") + " 2>" + Quoted(place / "err");
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(place / "out"),
                ReadBytes(place / "err")};
    }

    /// The options that name a project, with the password from a file.
    [[nodiscard]] std::vector<std::string> On(const std::string& user, const std::string& project,
                                              std::vector<std::string> command) const
    {
        for (const std::string& option :
             {std::string("--server"), std::string("127.0.0.1"), std::string("--port"),
              std::to_string(server.ModelPort()), std::string("--user"), user,
              std::string("--project"), project, std::string("--password-file"),
              PasswordFile().string()})
            command.push_back(option);
        return command;
    }

    /// As a host does that works on the cache.
    static void MarkUnsent(const std::filesystem::path& cache)
    {
        const auto file = cache / "CacheInfo.xml";
        std::string text = ReadBytes(file);
        const std::string sent = "<UnsentChange>false";
        text.replace(text.find(sent), sent.size(), "<UnsentChange>true");
        std::ofstream(file) << text;
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
};
