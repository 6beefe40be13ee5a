#include "Commands.hpp"

#include "CacheFolders.hpp"
#include "CacheStatus.hpp"
#include "CachedProjectInfo.hpp"
#include "IO/Folder.hpp"
#include "OVRoot/Exception.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

namespace {

using SYC::CachedProjectInfo;

Json AsJson(const CachedProjectInfo& cache)
{
    auto permissions = Json::array();
    const auto granted = cache.GetPermissions();
    std::vector<OV::UniString> sorted(granted.begin(), granted.end());
    std::sort(sorted.begin(), sorted.end());
    for (const auto& permission : sorted)
        permissions.push_back(ForJson(permission));
    return {{"folder", ForJson(cache.GetCacheFolderLocation().ToPath())},
            {"server", ForJson(cache.GetServerName())},
            {"port", static_cast<std::uint16_t>(cache.GetPort())},
            {"project", ForJson(cache.GetProjectName())},
            {"projectId", ForJson(cache.GetProjectId())},
            {"category", ForJson(cache.GetCategoryName())},
            {"login", ForJson(cache.GetLoginName())},
            {"user", ForJson(cache.GetUserName())},
            {"userId", ForJson(cache.GetUserId())},
            {"session", ForJson(cache.GetSessionId())},
            {"logonId", cache.GetLogonId()},
            {"role", ForJson(cache.GetRoleName())},
            {"permissions", permissions},
            {"status", CacheStatus(cache)},
            {"unsentChanges", cache.IsChanges()},
            {"forcedOffline", cache.IsProjectForcedOffline()},
            {"lastOpened", cache.GetLastOpenProjectTime()},
            {"travelPackageCreated", cache.IsTravelPackageCreated()},
            {"travelPackageTime", cache.GetTravelPackageCreationTime()},
            {"extractedFromTravelPackage", cache.ExtractedFromTravelPackage()},
            {"projectVersion", ForJson(cache.GetProjectVersion())},
            {"projectBuild", cache.GetProjectBuildNum()},
            {"detached", cache.IsProjectDetached()},
            {"complete", cache.IsComplete()},
            {"sizeMiB", cache.GetSpace_Mbyte()}};
}

std::string FieldText(const std::string& key, const Json& value)
{
    if (key == "lastOpened" || key == "travelPackageTime")
        return TimeForDisplay(value.get<std::int32_t>());
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void ShowText(const CachedProjectInfo& cache, const Output& output)
{
    output.PrintLine(output.Styled(Output::Style::Strong, ForDisplay(cache.GetProjectName())));
    const Json json = AsJson(cache);
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& [key, value] : json.items())
        if (key != "project")
            fields.emplace_back(key, FieldText(key, value));
    output.PrintFields(fields);
}

/// One line for each cache; one that cannot be read is named on standard error and costs its line
/// only.
void List(Context& context)
{
    Json json = Json::array();
    std::vector<std::vector<std::string>> rows{
        {"PROJECT", "SERVER", "LOGIN", "STATUS", "LAST OPENED", "MIB", "FOLDER"}};
    for (const auto& folder : SYC::CacheFolders::Find(context.DataFolder())) {
        try {
            const CachedProjectInfo cache(folder);
            json.push_back(AsJson(cache));
            rows.push_back({ForDisplay(cache.GetProjectName()),
                            ForDisplay(cache.GetServerName()) + ":" +
                                std::to_string(static_cast<std::uint16_t>(cache.GetPort())),
                            ForDisplay(cache.GetLoginName()), CacheStatus(cache),
                            TimeForDisplay(cache.GetLastOpenProjectTime()),
                            std::to_string(cache.GetSpace_Mbyte()),
                            ForDisplay(cache.GetLocalFolderName())});
        } catch (const OV::Exception& error) {
            context.output.Error(ForDisplay(error.GetMessage()));
            context.exitCode = ExitCode::Failure;
        }
    }
    if (context.output.json)
        context.output.PrintJson(json);
    else if (rows.size() == 1)
        context.output.PrintLine("No project is cached in \"" +
                                 ForDisplay(context.DataFolder().ToPath()) + "\".");
    else
        context.output.PrintTable(rows);
}

/// A name stands for a folder below the data folder, a path for itself.
IO::Location FindFolder(const std::string& text, const Context& context)
{
    const OV::UniString name = OV::FromUtf8(text);
    for (const auto& folder : {context.DataFolder().Appended(name), IO::Location::FromPath(name)})
        if (folder.IsLegal() && CachedProjectInfo::CachedProjectInfoExist(folder))
            return folder;
    return {};
}

void Show(const std::string& name, Context& context)
{
    const auto folder = FindFolder(name, context);
    if (folder.IsEmpty()) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("\"" + name + "\" is no cache folder: neither below \"" +
                             ForDisplay(context.DataFolder().ToPath()) +
                             "\" nor as a path. \"syclient cache list\" names those there are.");
        return;
    }
    const CachedProjectInfo cache(folder);
    if (context.output.json)
        context.output.PrintJson(AsJson(cache));
    else
        ShowText(cache, context.output);
}

}  // namespace

void AddCacheCommand(CLI::App& app, Context& context)
{
    auto* command = app.add_subcommand("cache", "The projects cached on this computer");
    command->require_subcommand(1);
    command->add_subcommand("list", "A line for each cached project")->callback([&context] {
        List(context);
    });
    auto* show = command->add_subcommand("show", "Everything that one cache remembers");
    const auto name = std::make_shared<std::string>();
    show->add_option("folder", *name, "Name of a cache folder, or its path")
        ->required()
        ->option_text("FOLDER");
    show->callback([name, &context] { Show(*name, context); });
}
