#include "Command.hpp"
#include "Commands.hpp"

#include "Numbers.hpp"
#include "OVRoot/Exception.hpp"
#include "RegisteredProjectsSynchronizer.hpp"

#include <CLI/CLI.hpp>

#include <limits>
#include <optional>

namespace {

using SYC::RegisteredProjects;

struct SetArguments {
    std::optional<std::string> folder;
    std::optional<bool> autoClean;
    std::optional<std::int32_t> period;
    std::optional<std::int32_t> lastUsedDays;
    std::optional<std::int32_t> lastRun;

    void AddOptions(CLI::App& command)
    {
        const auto most = Numbers::UpTo(std::numeric_limits<std::int32_t>::max());
        command.add_option("--folder", folder, "Where caches stand from now on; none is moved")
            ->option_text("DIR");
        command.add_option("--auto-clean", autoClean, "Whether hosts clean up by themselves")
            ->option_text("on|off");
        command.add_option("--period", period, "Time between two runs, in the host's unit")
            ->option_text("N")
            ->check(most);
        command
            .add_option("--last-used-days", lastUsedDays,
                        "Days since a project was last used, after which it may go")
            ->option_text("N")
            ->check(most);
        command.add_option("--last-run", lastRun, "When it last ran, in the host's unit")
            ->option_text("N")
            ->check(most);
    }
};

void Show(const NoArguments&, Context& context)
{
    const auto& registry = Context::Registry();
    const auto file = registry.GetOptionsFileLocation().ToPath();
    const auto folder = registry.GetSYDataFolder().ToPath();
    if (context.output.json) {
        context.output.PrintJson({{"file", ForJson(file)},
                                  {"folder", ForJson(folder)},
                                  {"autoClean", registry.GetEnableAutoClean()},
                                  {"period", registry.GetPeriodTime()},
                                  {"lastUsedDays", registry.GetLastUsedDays()},
                                  {"lastRun", registry.GetLastRunTime()}});
        return;
    }
    context.output.PrintFields({{"file", ForDisplay(file)},
                                {"folder", ForDisplay(folder)},
                                {"auto-clean", registry.GetEnableAutoClean() ? "on" : "off"},
                                {"period", std::to_string(registry.GetPeriodTime())},
                                {"last-used-days", std::to_string(registry.GetLastUsedDays())},
                                {"last-run", std::to_string(registry.GetLastRunTime())}});
}

void Change(const SetArguments& arguments, RegisteredProjects& registry)
{
    if (arguments.folder)
        registry.SetSYDataFolder(IO::Location::FromPath(OV::FromUtf8(*arguments.folder)), true);
    if (arguments.autoClean)
        registry.SetEnableAutoClean(*arguments.autoClean);
    if (arguments.period)
        registry.SetPeriodTime(*arguments.period);
    if (arguments.lastUsedDays)
        registry.SetLastUsedDays(*arguments.lastUsedDays);
    if (arguments.lastRun)
        registry.SetLastRunTime(*arguments.lastRun);
}

void Set(const SetArguments& arguments, Context& context)
{
    auto& registry = Context::Registry();
    // Any folder that this process is in would be another one for the next process.
    if (arguments.folder && !arguments.folder->starts_with('/'))
        throw OV::IllegalArgumentException(
            OV::StringView("The folder needs a path from the root, such as /srv/projects."));
    {
        const RegisteredProjects::Synchronizer guard;
        if (RegisteredProjects::Synchronizer::IsLocked())
            Change(arguments, registry);
        else
            context.exitCode = ExitCode::Failure;
    }
    if (context.exitCode == ExitCode::Success && !registry.HasUnwrittenOptions())
        return Show({}, context);
    context.exitCode = ExitCode::Failure;
    context.output.Error("\"" + ForDisplay(registry.GetOptionsFileLocation().ToPath()) +
                         "\" was not changed: another program holds it, or it cannot be written. "
                         "Close the host applications, or try again.");
}

}  // namespace

void DeclareOptions(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    AddCommand(command, context, "show", "The options and their file", &Show);
    AddCommand(command, context, "set", "Change options, for all programs of this user", &Set);
}
