#include "CommandTree.hpp"

#include <CLI/CLI.hpp>

namespace CommandTree {

std::vector<const CLI::Option*> OptionsOf(const CLI::App& command)
{
    std::vector<const CLI::Option*> options = command.get_options();
    for (const CLI::App* below : command.get_subcommands(nullptr))
        if (below->get_name().empty()) {
            const auto inner = OptionsOf(*below);
            options.insert(options.end(), inner.begin(), inner.end());
        }
    std::erase_if(options, [](const CLI::Option* each) { return each->get_group().empty(); });
    return options;
}

std::vector<const CLI::App*> CommandsOf(const CLI::App& command)
{
    auto commands = command.get_subcommands(nullptr);
    std::erase_if(commands, [](const CLI::App* each) {
        return each->get_name().empty() || each->get_group().empty();
    });
    return commands;
}

bool TakesValue(const CLI::Option& option)
{
    return option.get_items_expected_max() > 0;
}

std::string PathOf(const CLI::App& command)
{
    const CLI::App* parent = command.get_parent();
    return (parent == nullptr ? "" : PathOf(*parent) + " ") + command.get_name();
}

}  // namespace CommandTree
