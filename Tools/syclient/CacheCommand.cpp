#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "CachedProjectInfo.hpp"

#include <CLI/CLI.hpp>

namespace {

using SYC::CachedProjectInfo;

std::string FieldText(const std::string& key, const Json& value)
{
    if (key == "sizeBytes")
        return SizeForDisplay(value.get<std::uint64_t>());
    if (key == "lastOpened" || key == "travelPackageTime")
        return TimeForDisplay(value.get<std::int32_t>());
    return PlainText(value);
}

void ShowText(const CachedProjectInfo& cache, const Output& output)
{
    output.PrintLine(output.Styled(Output::Style::Strong, ForDisplay(cache.GetProjectName())));
    const Json json = CacheJson(cache);
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& [key, value] : json.items())
        if (key != "project")
            fields.emplace_back(LabelOf(key), FieldText(key, value));
    output.PrintFields(fields);
}

struct ShowArguments {
    std::string folder;

    void AddOptions(CLI::App& command)
    {
        command
            .add_option("folder", folder,
                        "A cache folder by name or path, or its project by name or URL")
            ->required()
            ->option_text("FOLDER");
    }
};

void Show(const ShowArguments& arguments, Context& context)
{
    const auto folder = FindCacheFolder(arguments.folder, context);
    if (folder.IsEmpty())
        return;
    const CachedProjectInfo cache(folder);
    if (context.output.json)
        context.output.PrintJson(CacheJson(cache));
    else
        ShowText(cache, context.output);
}

}  // namespace

void DeclareCache(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    AddCommand(command, context, "show", "Everything that one cache remembers", &Show);
}
