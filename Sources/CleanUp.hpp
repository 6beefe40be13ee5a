#pragma once

#include "Cache/UnsentWorkException.hpp"
#include "IO/Location.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "RegisteredProject.hpp"

/// What a host asks before it removes caches. When to clean is the host's business; the options say
/// after how many days a cache is due (RegisteredProjects::GetLastUsedDays).
namespace SYC {

/// Whether something of the project waits to be sent: changes, or mails in the outbox, those
/// included that this process does not know. What cannot be read may hold some and counts as well.
/// It looks at the disk: a mail client that has just delivered the last mail writes that a moment
/// later (MailClient::HasUnwrittenOutbox).
[[nodiscard]] SYC_API bool HasUnsentWork(const CachedProjectInfo& cache);

/// Whether a ClientProjectConnectionManager of this or another process, on this machine, works with
/// the cache in that folder. Throws IO::IOException when the folder cannot be looked into.
[[nodiscard]] SYC_API bool IsCacheInUse(const IO::Location& folder);

/// A cache that is due, and what speaks against its removal.
struct CacheToClean {
    /// As it was when it was looked at.
    RegisteredProject project;
    bool hasUnsentWork = false;  ///< see HasUnsentWork
    bool isInUse = false;        ///< see IsCacheInUse

    /// Whether nothing is lost and nobody is disturbed when it goes.
    [[nodiscard]] bool MayGo() const noexcept { return !hasUnsentWork && !isInUse; }
};

/// The caches directly below `dataFolder` (the main project folder when it is empty) that were
/// opened last more than GetLastUsedDays() days before `now`, seconds since 1970-01-01 UTC; none
/// when the option is 0 or less. A cache that was never opened is due. Removes nothing:
/// RegisteredProjects::RemoveProject does, and refuses one that is in use or holds unsent work,
/// even when that came about meanwhile. Looks at the disk alone; throws as
/// RegisteredProjects::RefreshCaches.
[[nodiscard]] SYC_API OV::Array<CacheToClean>
FindCachesToClean(std::int32_t now, const IO::Location& dataFolder = {});

}  // namespace SYC
