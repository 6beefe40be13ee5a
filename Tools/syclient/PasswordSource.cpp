#include "PasswordSource.hpp"

#include "IO/File.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Terminal.hpp"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

/// The text is wiped.
OV::Secret FirstLine(std::string& text)
{
    const OV::SecureWipeGuard<char> wipe(text);
    OV::StringView line = OV::StringView(text).substr(0, text.find_first_of("\r\n"));
    // Editors of some systems put it in front of a text.
    constexpr OV::StringView byteOrderMark = "\xEF\xBB\xBF";
    if (line.starts_with(byteOrderMark))
        line.remove_prefix(byteOrderMark.size());
    return OV::FromUtf8(line);
}

}  // namespace

void PasswordSource::AddOptions(CLI::App& command, const std::string& kind)
{
    auto* fileOption = command
                           .add_option("--" + kind + "password-file", file,
                                       "Take the " + kind + "password from the first line of FILE")
                           ->option_text("FILE");
    command
        .add_flag("--" + kind + "password-stdin", fromStandardInput,
                  "Take the " + kind + "password from a line of standard input")
        ->excludes(fileOption);
}

OV::Secret PasswordSource::Read(const std::string& promptFor) const
{
    if (!file.empty()) {
        auto text = IO::File::ReadInput(IO::Location::FromPath(OV::FromUtf8(file)),
                                        IO::File::MostOfValueFile);
        return FirstLine(text);
    }
    if (fromStandardInput) {
        std::string line;
        std::getline(std::cin, line);
        return FirstLine(line);
    }
    auto typed = OV::Terminal::ReadPassword("Password of " + promptFor + ": ");
    if (!typed)
        throw OV::IllegalArgumentException(
            OV::StringView("No password: there is no terminal to ask on. Use --password-file or "
                           "--password-stdin."));
    return FirstLine(*typed);
}

OV::Secret PasswordSource::ReadNew(const std::string& promptFor) const
{
    OV::Secret password = Read(promptFor + " (new)");
    if (!IsGiven() && password != Read(promptFor + " (new, again)"))
        throw OV::IllegalArgumentException(
            OV::StringView("Nothing is changed: the two passwords differ."));
    return password;
}
