#include "UsageError.hpp"

#include "CommandTree.hpp"
#include "OVRoot/UniString.hpp"
#include "Output.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <numeric>

namespace {

using namespace CommandTree;

/// How many letters have to be added, taken away or replaced.
std::size_t Distance(const std::string& left, const std::string& right)
{
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j + 1] + 1, row[j] + 1});
        }
    }
    return row.back();
}

/// The nearest of the words when it is near enough to have been meant; empty otherwise.
std::string Nearest(const std::string& word, const std::vector<std::string>& words)
{
    const std::size_t nearEnough = word.size() < 4 ? 1 : 2;
    const auto nearest =
        std::min_element(words.begin(), words.end(), [&](const auto& a, const auto& b) {
            return Distance(word, a) < Distance(word, b);
        });
    return nearest == words.end() || Distance(word, *nearest) > nearEnough ? std::string()
                                                                           : *nearest;
}

/// The innermost command that the line names.
const CLI::App& Innermost(const CLI::App& app)
{
    const auto below = app.get_subcommands();
    return below.empty() ? app : Innermost(*below.back());
}

std::string Suggestion(const std::string& word, const CLI::App& command)
{
    std::vector<std::string> words;
    if (word.starts_with('-')) {
        for (const CLI::App* each = &command; each != nullptr; each = each->get_parent())
            for (const CLI::Option* option : OptionsOf(*each))
                for (const auto& name : option->get_lnames())
                    words.push_back("--" + name);
    } else {
        for (const CLI::App* each : CommandsOf(command))
            words.push_back(each->get_name());
    }
    const auto nearest = Nearest(word.substr(0, word.find('=')), words);
    return nearest.empty() ? "" : " Did you mean \"" + nearest + "\"?";
}

std::string WordsBelow(const CLI::App& command)
{
    std::string words;
    for (const CLI::App* each : CommandsOf(command))
        words += (words.empty() ? "" : ", ") + each->get_name();
    return words;
}

std::string Plain(const std::string& text)
{
    return ForDisplay(OV::FromUtf8(text));
}

/// The option that the words of the parser name; null when they name none.
const CLI::Option* OptionIn(const std::string& text, const CLI::App& command)
{
    for (const CLI::App* each = &command; each != nullptr; each = each->get_parent())
        for (const CLI::Option* option : OptionsOf(*each))
            if (const auto at = text.find(option->get_name());
                at != std::string::npos && !option->get_positional())
                return option;
    return nullptr;
}

/// The value that the words of the parser complain of.
std::string ValueIn(const std::string& text)
{
    const std::string before = text.starts_with("Could not convert") ? " = " : "Check ";
    const auto begin = text.find(before);
    if (begin == std::string::npos)
        return {};
    const auto value = text.substr(begin + before.size());
    return value.substr(0, value.find(" value in "));
}

/// What the parser says of a value names its own checks; the option tells better what it takes.
std::string DescribeValueError(const CLI::ParseError& error, const CLI::App& command)
{
    const std::string text = error.what();
    const CLI::Option* option = OptionIn(text, command);
    const bool isRaw =
        text.find("FAILED") != std::string::npos || text.starts_with("Could not convert");
    if (option != nullptr && isRaw)
        return "\"" + Plain(ValueIn(text)) + "\" is no value of " + option->get_name() +
               ", which takes " + option->get_option_text() + ".";
    const auto colon = text.find(": ");
    if (option == nullptr || colon == std::string::npos)
        return Plain(text) + ".";
    return "Not a value of " + option->get_name() + ": " + Plain(text.substr(colon + 2)) + ".";
}

}  // namespace

std::string DescribeUsageError(const CLI::App& app, const CLI::ParseError& error)
{
    const CLI::App& command = Innermost(app);
    const std::string help = " \"" + PathOf(command) + " --help\" tells more.";
    const auto left = app.remaining(true);
    if (!left.empty())
        return "\"" + Plain(PathOf(command)) + "\" knows no \"" + Plain(left.front()) + "\"." +
               Suggestion(left.front(), command) + help;
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        if (const auto words = WordsBelow(command); !words.empty())
            return "\"" + PathOf(command) + "\" needs one of: " + words + "." + help;
        return "Missing: " + Plain(error.what()) + "." + help;
    }
    return DescribeValueError(error, command) + help;
}
