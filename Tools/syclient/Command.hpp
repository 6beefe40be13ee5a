#pragma once

#include <functional>
#include <memory>
#include <string>

namespace CLI {
class App;
}
struct Context;

/// What a command is told by its options: a struct of its own, whose AddOptions(CLI::App&) declares
/// them. NoArguments is that of a command without any.
struct NoArguments {
    static void AddOptions(CLI::App&) {}
};

/// Where a command works, and what it is told beside.
template <class Place, class Own>
struct ArgumentsAt {
    Place place;
    Own own;

    void AddOptions(CLI::App& command)
    {
        place.AddOptions(command);
        own.AddOptions(command);
    }
    void Resolve(Context& context)
    {
        if constexpr (requires { place.Resolve(context, own.NamedProject()); })
            place.Resolve(context, own.NamedProject());
        else
            place.Resolve(context);
    }
};

/// What is still open after the options is filled in before the command runs.
template <class Arguments>
void ResolveArguments(Arguments& arguments, Context& context)
{
    if constexpr (requires { arguments.Resolve(context); })
        arguments.Resolve(context);
}

/// Adds a command that does nothing yet.
CLI::App& AddSubcommand(CLI::App& parent, const std::string& name, const std::string& description);
/// Lets `command` do `action` when the command line names it, and none below it.
void SetAction(CLI::App& command, std::function<void()> action);

/// Makes `command` one that calls `run` with what its options gave and with the context, which
/// outlives it. `initial` is what the arguments are before the options change them.
template <class Arguments, class Run>
void DefineCommand(CLI::App& command, Context& context, Run run, Arguments initial = {})
{
    const auto arguments = std::make_shared<Arguments>(std::move(initial));
    arguments->AddOptions(command);
    SetAction(command, [arguments, &context, run = std::move(run)] {
        ResolveArguments(*arguments, context);
        run(*arguments, context);
    });
}
template <class Arguments>
void DefineCommand(CLI::App& command, Context& context, void (*run)(const Arguments&, Context&))
{
    DefineCommand<Arguments, decltype(run)>(command, context, run);
}

/// The same for a command below `parent`.
template <class Arguments>
void AddCommand(CLI::App& parent, Context& context, const std::string& name,
                const std::string& description, void (*run)(const Arguments&, Context&))
{
    DefineCommand(AddSubcommand(parent, name, description), context, run);
}
