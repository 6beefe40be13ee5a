#include "Commands.hpp"

#include "CacheView.hpp"
#include "CachedProjectInfo.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace {

using SYC::CachedProjectInfo;

std::string FieldText(const std::string& key, const Json& value)
{
    if (key == "sizeBytes")
        return SizeForDisplay(value.get<std::uint64_t>());
    if (key == "lastOpened" || key == "travelPackageTime")
        return TimeForDisplay(value.get<std::int32_t>());
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void ShowText(const CachedProjectInfo& cache, const Output& output)
{
    output.PrintLine(output.Styled(Output::Style::Strong, ForDisplay(cache.GetProjectName())));
    const Json json = CacheJson(cache);
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& [key, value] : json.items())
        if (key != "project")
            fields.emplace_back(key, FieldText(key, value));
    output.PrintFields(fields);
}

void Show(const std::string& name, Context& context)
{
    const auto folder = FindCacheFolder(name, context);
    if (folder.IsEmpty())
        return;
    const CachedProjectInfo cache(folder);
    if (context.output.json)
        context.output.PrintJson(CacheJson(cache));
    else
        ShowText(cache, context.output);
}

}  // namespace

void AddCacheCommand(CLI::App& app, Context& context)
{
    auto* command = app.add_subcommand("cache", "What stands in the cache of a project");
    command->require_subcommand(1);
    auto* show = command->add_subcommand("show", "Everything that one cache remembers");
    const auto name = std::make_shared<std::string>();
    show->add_option("folder", *name, "Name of a cache folder, or its path")
        ->required()
        ->option_text("FOLDER");
    show->callback([name, &context] { Show(*name, context); });
}
