#include "LeaveProject.hpp"

#include "CleanUp.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "CloseSession.hpp"
#include "Flow/Detail/CacheOfProject.hpp"
#include "Flow/Detail/FlowText.hpp"
#include "IO/IOException.hpp"
#include "Messaging/MailFile.hpp"
#include "OVRoot/Thread.hpp"
#include "SyncraURL.hpp"

namespace SYC {

namespace {

std::uint32_t CountMails(const IO::Location& folder)
{
    try {
        const auto content = MailFile::Read(folder.Appended(MailFile::OutboxName));
        return static_cast<std::uint32_t>(content.mails.size()) + content.unknown.count;
    } catch (const IO::IOException&) {
        return 0;  // HasUnsentWork says that there may be some
    }
}

LeaveProject::Found LookAtCache(const CachedProjectInfo& cache)
{
    const IO::Location folder = cache.GetCacheFolderLocation();
    LeaveProject::Found found;
    found.hasUnsentChanges = cache.IsChanges();
    found.unsentMails = CountMails(folder);
    found.hasUnsentWork = HasUnsentWork(cache);
    found.isInUse = IsCacheInUse(folder);
    found.hasSession = !cache.GetSessionId().empty();
    return found;
}

Failure WhatKeeps(const LeaveProject::Found& found, const LeaveProject::Options& options)
{
    if (found.isInUse)
        return MakeFailure(FailureKind::ObjectInUse);
    if (options.removeCache && found.hasUnsentWork && !options.discardUnsent)
        return MakeFailure(FailureKind::UnsentWork);
    return {};
}

}  // namespace

LeaveProject::LeaveProject(IO::Location project, IO::Location dataFolder,
                           const FlowExecutors& executors)
    : Flow(executors), project_(std::move(project)), dataFolder_(std::move(dataFolder))
{
    (void)ToCheckedConnectionInfo(project_);
}

void LeaveProject::Look()
{
    found_.reset();
    Start([this, project = project_, dataFolder = dataFolder_](const Report& report) -> Result {
        report(GetText(FlowText::LookForUnsentWork));
        const auto cache = FindCacheOf(project, CacheFolderOr(dataFolder));
        if (!cache)
            return {{}, MakeFailure(FailureKind::NoCache)};
        return {[this, found = LookAtCache(*cache)] { found_ = found; }, {}};
    });
}

void LeaveProject::Leave(const Options& options)
{
    Start([project = project_, dataFolder = dataFolder_, options](const Report& report) -> Result {
        const IO::Location folder = CacheFolderOr(dataFolder);
        const auto cache = FindCacheOf(project, folder);
        if (!cache)
            return {{}, MakeFailure(FailureKind::NoCache)};
        const Found found = LookAtCache(*cache);
        if (auto failure = WhatKeeps(found, options))
            return {{}, std::move(failure)};
        if (found.hasSession) {
            report(GetText(FlowText::EndSession));
            ClientProjectConnectionManager manager(project, folder, nullptr);
            if (Failure failure; !CloseSession(manager, failure))
                return {{}, std::move(failure)};
        }
        if (options.removeCache) {
            report(GetText(FlowText::RemoveCache));
            registeredProjects().RemoveProject(cache->GetCacheFolderLocation(),
                                               options.discardUnsent);
        }
        return {};
    });
}

}  // namespace SYC
