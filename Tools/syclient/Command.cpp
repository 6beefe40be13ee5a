#include "Command.hpp"

#include <CLI/CLI.hpp>

CLI::App& AddSubcommand(CLI::App& parent, const std::string& name, const std::string& description)
{
    return *parent.add_subcommand(name, description);
}

void SetAction(CLI::App& command, std::function<void()> action)
{
    command.callback([&command, action = std::move(action)] {
        if (command.get_subcommands().empty())
            action();
    });
}
