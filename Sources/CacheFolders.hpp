#pragma once

#include "CachedProjectInfo.hpp"
#include "IO/ExclusiveFile.hpp"
#include "ProjectConnectionInfo.hpp"

#include <functional>
#include <memory>

/// The cache folders below a data folder: how they are named, made and found. A subfolder counts
/// when it holds a "CacheInfo.xml".
namespace SYC::CacheFolders {

/// Folder name of a connection's cache: server, project and login name with "_" between them, cut
/// to 128 code units. Characters that cannot stand in a folder name on every system (control
/// characters and / \ : * ? " < > |) become "_". A cut never leaves half a character at the end,
/// and goes further where the name would be longer than file systems take (240 bytes of UTF-8).
[[nodiscard]] OV::UniString MakeName(const Inner::ProjectConnectionInfo& info);

/// A cache folder being set up. While this object lives, no other process takes the same folder for
/// another connection, although the folder holds no "CacheInfo.xml" yet.
class NewFolder {
public:
    /// Takes the folder `name` below `parent`, or one with an unused name derived from it when that
    /// one is somebody's cache already. A folder without a "CacheInfo.xml" is taken as it is.
    /// Throws IO::IOException when no folder can be made.
    NewFolder(const IO::Location& parent, const OV::UniString& name);
    ~NewFolder();
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    [[nodiscard]] const IO::Location& GetLocation() const noexcept { return folder_; }

private:
    [[nodiscard]] bool TryTake(const IO::Location& folder);

    IO::Location folder_;
    std::optional<IO::ExclusiveFile> hold_;
};

/// Where a host keeps its caches unless its user chose another folder: "Projects" in the company's
/// application-data folder; not created here.
[[nodiscard]] IO::Location GetDefaultDataFolder();

/// Every cache folder directly below `dataFolder`, sorted by name; none when it does not exist.
[[nodiscard]] OV::Array<IO::Location> Find(const IO::Location& dataFolder);

/// The cache of this user's connection to this project, or null. The server name is compared
/// without regard to letter case, all else exactly. A cache that cannot be read is passed over with
/// a log line.
[[nodiscard]] std::shared_ptr<CachedProjectInfo>
FindCache(const IO::Location& dataFolder, const Inner::ProjectConnectionInfo& connection);

}  // namespace SYC::CacheFolders
