#include "PasswordSource.hpp"

#include "IO/File.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Terminal.hpp"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

OV::UniString FirstLine(std::string text)
{
    text.resize(std::min(text.size(), text.find_first_of("\r\n")));
    return OV::FromUtf8(text);
}

}  // namespace

void PasswordSource::AddOptions(CLI::App& command)
{
    auto* fileOption =
        command
            .add_option("--password-file", file, "Take the password from the first line of FILE")
            ->option_text("FILE");
    command
        .add_flag("--password-stdin", fromStandardInput,
                  "Take the password from the first line of standard input")
        ->excludes(fileOption);
}

OV::UniString PasswordSource::Read(const std::string& promptFor) const
{
    if (!file.empty())
        return FirstLine(IO::File::ReadAll(IO::Location::FromPath(OV::FromUtf8(file))));
    if (fromStandardInput) {
        std::string line;
        std::getline(std::cin, line);
        return FirstLine(std::move(line));
    }
    const auto typed = OV::Terminal::ReadPassword("Password of " + promptFor + ": ");
    if (!typed)
        throw OV::IllegalArgumentException(
            OV::StringView("No password: there is no terminal to ask on. Use --password-file or "
                           "--password-stdin."));
    return OV::FromUtf8(*typed);
}
