#pragma once

#include "Flow/Flow.hpp"
#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"

#include <optional>

namespace SYC {

/// Leaves a project on this computer: ends the session, and on wish removes the cache. The user
/// stays a member. A leave that fails or is cancelled leaves session and cache as they were; only
/// when somebody begins to use the cache between the two, the session has ended and the cache
/// stays.
class SYC_API LeaveProject final : public Flow {
public:
    /// What would be lost, or stands in the way.
    struct Found {
        bool hasUnsentChanges = false;  ///< that the cache knows of
        std::uint32_t unsentMails = 0;  ///< those included that this process does not know
        bool hasUnsentWork = false;     ///< either, or what cannot be read and may hold some
        bool isInUse = false;           ///< by a program of this computer, this one included
        bool hasSession = false;        ///< on the server, as the cache knows it
    };
    /// What the user decided.
    struct Options {
        bool removeCache = true;     ///< all that the host keeps in it goes as well
        bool discardUnsent = false;  ///< what was not sent goes with the cache
    };

    /// As JoinProject.
    LeaveProject(IO::Location project, IO::Location dataFolder, const FlowExecutors& executors);

    /// Finds out what to ask the user about. Looks at the disk alone.
    void Look();
    /// Nothing before Look succeeded.
    [[nodiscard]] const std::optional<Found>& GetFound() const noexcept { return found_; }

    /// Fails with UnsentWork, and does nothing, for a cache to be removed with what was not sent,
    /// unless that is agreed to; with ObjectInUse while a program has the project open. A session
    /// that ended elsewhere, or with the membership, has ended.
    void Leave(const Options& options);

private:
    IO::Location project_;
    IO::Location dataFolder_;
    std::optional<Found> found_;
};

}  // namespace SYC
