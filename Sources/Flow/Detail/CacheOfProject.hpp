#pragma once

#include "RegisteredProjects.hpp"

namespace SYC {

/// Where caches stand: the folder that was named, or else the main project folder; where the host
/// set none, the one that hosts usually have.
[[nodiscard]] inline IO::Location CacheFolderOr(const IO::Location& folder)
{
    if (!folder.IsEmpty())
        return folder;
    auto main = registeredProjects().GetMainProjectCacheFolderLocation();
    return main.IsEmpty() ? RegisteredProjects::GetDefaultDataFolder() : main;
}

/// What is known of the project's cache there; null when there is none. Looks at the disk.
[[nodiscard]] inline std::shared_ptr<const CachedProjectInfo>
FindCacheOf(const IO::Location& project, const IO::Location& folder)
{
    return registeredProjects().GetCacheInfo(project, true, folder);
}

}  // namespace SYC
