#include "CleanUp.hpp"

#include "Cache/Detail/CacheHold.hpp"
#include "Cache/Detail/UnsentWork.hpp"
#include "Files/FileErrors.hpp"
#include "IO/IOException.hpp"
#include "Messaging/MailFile.hpp"
#include "OVRoot/Format.hpp"
#include "RegisteredProjects.hpp"

namespace SYC {

namespace {

constexpr std::int64_t SecondsOfDay = 24 * 60 * 60;

bool MayHoldMails(const IO::Location& outbox)
{
    try {
        const auto content = MailFile::Read(outbox);
        return !content.mails.empty() || content.unknown.count != 0 ||
               content.outcome == MailFile::Outcome::Damaged;
    } catch (const IO::IOException&) {
        return true;
    }
}

}  // namespace

bool HasUnsentWork(const CachedProjectInfo& cache)
{
    return cache.IsChanges() ||
           MayHoldMails(cache.GetCacheFolderLocation().Appended(MailFile::OutboxName));
}

void RefuseUnsentWork(const IO::Location& folder)
{
    bool isUnsent = true;
    try {
        isUnsent = HasUnsentWork(CachedProjectInfo(folder));
    } catch (const Syncra::Server::ManagementTool::Core::FileError&) {
        // Nobody knows what it holds.
    }
    if (isUnsent)
        throw UnsentWorkException(OV::FormatText(
            u"Cannot remove the cache \"%\": it holds changes or mails that were not sent.",
            {folder.ToDisplayText()}));
}

bool IsCacheInUse(const IO::Location& folder)
{
    return CacheHold::IsHeld(folder);
}

OV::Array<CacheToClean> FindCachesToClean(std::int32_t now, const IO::Location& dataFolder)
{
    RegisteredProjects& registry = registeredProjects();
    const std::int64_t days = registry.GetLastUsedDays();
    OV::Array<CacheToClean> due;
    if (days <= 0)
        return due;
    const IO::Location folder =
        dataFolder.IsEmpty() ? registry.GetMainProjectCacheFolderLocation() : dataFolder;
    OV::Array<CacheInfoRecord> records;
    OV::Array<RegisteredProject> projects;
    registry.RefreshCaches(folder);
    registry.SearchCaches(folder, records);
    registry.FillProjects(projects, {}, {}, {}, records);
    for (auto& project : projects)
        if (now - std::int64_t(project.GetLastOpenedTime()) > days * SecondsOfDay) {
            const bool hasWork = HasUnsentWork(project.GetCachedProjectInfo());
            const bool isInUse = IsCacheInUse(project.GetCacheDataFolderLocation());
            due.push_back({std::move(project), hasWork, isInUse});
        }
    return due;
}

}  // namespace SYC
