#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"
#include "SyncraProtocol/Project.hpp"

namespace SYC {

/// What is known of a project on this machine.
struct ProjectStatusFacts {
    /// The project has a cache here.
    bool joined = false;
    /// The cache is marked detached.
    bool detached = false;
    /// The project has a cache here and is gone from its server.
    bool deletedFromServer = false;
    /// A package was made that takes the cache to another computer.
    bool travelPackageCreated = false;
    /// The cache holds changes that were not sent yet.
    bool unsentChanges = false;
    /// Its server is out of reach, or the user works offline.
    bool offline = false;
};

/// The state word of project lists. Several facts may hold at once; the one after which the user
/// can do least with the server is named, in this order:
///   "Deleted from Server", "Detached", "Traveling", "Joined"; empty when none of them holds.
[[nodiscard]] SYC_API OV::UniString GetProjectStateWord(const ProjectStatusFacts& facts);

/// "unsent changes" when there are any, else empty; for lists that show it apart from the state
/// word.
[[nodiscard]] SYC_API OV::UniString GetUnsentChangesText(const ProjectStatusFacts& facts);

/// The whole status in one text: the state word, where "Joined" becomes "Joined, unsent changes",
/// and " (Offline)" behind it for an offline project; not behind "Deleted from Server", which only
/// a server can say. A project that is not known here has no status: the text is empty, offline or
/// not.
[[nodiscard]] SYC_API OV::UniString GetProjectStatusText(const ProjectStatusFacts& facts);

class CachedProjectInfo;
/// What the cache of a joined project tells by itself, without its server.
[[nodiscard]] SYC_API ProjectStatusFacts GetCachedProjectFacts(const CachedProjectInfo& cache);

/// The state of a project on its server in a word or two: "locked", "under maintenance", "active".
[[nodiscard]] SYC_API OV::UniString GetServerStateText(Syncra::Protocol::ProjectState state);

}  // namespace SYC
