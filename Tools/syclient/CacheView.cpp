#include "CacheView.hpp"

#include "Connection.hpp"
#include "IO/Folder.hpp"
#include "OVRoot/Exception.hpp"
#include "Output.hpp"
#include "ProjectStatusText.hpp"
#include "RegisteredProjects.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

std::uint64_t SizeOf(const IO::Location& folder)
{
    try {
        return IO::Folder::GetSize(folder);
    } catch (const OV::Exception&) {
        return 0;
    }
}

}  // namespace

std::string CacheStatus(const SYC::CachedProjectInfo& cache, ServerSays server)
{
    auto facts = SYC::GetCachedProjectFacts(cache);
    facts.deletedFromServer = server == ServerSays::Deleted;
    facts.offline = facts.offline || server == ServerSays::Unreachable;
    return ForDisplay(SYC::GetProjectStatusText(facts));
}

Json CacheJson(const SYC::CachedProjectInfo& cache)
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
            {"user", ForJson(cache.GetLoginName())},
            {"fullName", ForJson(cache.GetUserName())},
            {"userId", ForJson(cache.GetUserId())},
            {"session", ForJsonOrNull(cache.GetSessionId())},
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
            {"dataVersion", ForJson(cache.GetProjectVersion())},
            {"dataBuild", cache.GetProjectBuildNum()},
            {"detached", cache.IsProjectDetached()},
            {"complete", cache.IsComplete()},
            {"sizeBytes", SizeOf(cache.GetCacheFolderLocation())}};
}

std::string SizeForDisplay(std::uint64_t bytes)
{
    static constexpr std::array<const char*, 5> units = {"KiB", "MiB", "GiB", "TiB", "PiB"};
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; size >= 1024 && unit + 1 < units.size(); ++unit)
        size /= 1024;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", size, units[unit]);
    return text.data();
}

void ReportUnwritten(const SYC::CachedProjectInfo& cache, Context& context)
{
    if (!cache.HasUnwrittenValues())
        return;
    context.exitCode = ExitCode::Failure;
    context.output.Error("The cache \"" + ForDisplay(cache.GetCacheFolderLocation().ToPath()) +
                         "\" could not be written, so nothing of this is known here any more when "
                         "this program ends.");
}

namespace {

/// The cache of a project that is named by its URL, or by its name when one cache alone has it.
IO::Location FolderOfProject(const std::string& text, const Context& context)
{
    ConnectionValues wanted;
    if (LooksLikeProjectUrl(text))
        wanted.FillFromUrl(text);
    else
        wanted.project = text;
    OV::Array<SYC::CacheInfoRecord> records;
    SYC::registeredProjects().SearchCaches(context.DataFolder(), records);
    IO::Location found;
    for (const auto& record : records) {
        if (!record.info || record.info->GetProjectName() != OV::FromUtf8(wanted.project) ||
            (!wanted.user.empty() && record.info->GetLoginName() != OV::FromUtf8(wanted.user)) ||
            (!wanted.server.empty() && record.info->GetServerName() != OV::FromUtf8(wanted.server)))
            continue;
        if (!found.IsEmpty())
            return {};
        found = record.info->GetCacheFolderLocation();
    }
    return found;
}

}  // namespace

IO::Location FindCacheFolder(const std::string& text, Context& context)
{
    const OV::UniString name = OV::FromUtf8(text);
    for (const auto& folder : {context.DataFolder().Appended(name), IO::Location::FromPath(name)})
        if (std::size_t index = 0;
            folder.IsLegal() && SYC::registeredProjects().GetCacheIndex(folder, index, true))
            return folder;
    if (const auto folder = FolderOfProject(text, context); !folder.IsEmpty())
        return folder;
    context.exitCode = ExitCode::NotFound;
    context.output.Error(
        "\"" + text + "\" is no cache folder: neither below \"" +
        ForDisplay(context.DataFolder().ToPath()) +
        "\" nor as a path, nor the project of one cache alone. \"syclient projects\" "
        "names those there are.");
    return {};
}
