#pragma once

#include "IO/ExclusiveFile.hpp"
#include "ProjectConnectionInfo.hpp"

namespace SYC {

/// Folder name of a connection's cache: server, project and login name with "_" between them, cut
/// to 128 code units. Characters that cannot stand in a folder name on every system (control
/// characters and / \ : * ? " < > |) become "_". A cut never leaves half a character at the end,
/// and goes further where the name would be longer than file systems take (240 bytes of UTF-8).
[[nodiscard]] OV::UniString MakeCacheFolderName(const Inner::ProjectConnectionInfo& info);

/// A cache folder being set up. While this object lives, no other process takes the same folder for
/// another connection, although the folder holds no "CacheInfo.xml" yet.
class NewCacheFolder {
public:
    /// Takes the folder `name` below `parent`, or one with an unused name derived from it when that
    /// one is somebody's cache already. A folder without a "CacheInfo.xml" is taken as it is.
    /// Throws IO::IOException when no folder can be made.
    NewCacheFolder(const IO::Location& parent, const OV::UniString& name);
    ~NewCacheFolder();
    NewCacheFolder(const NewCacheFolder&) = delete;
    NewCacheFolder& operator=(const NewCacheFolder&) = delete;

    [[nodiscard]] const IO::Location& GetLocation() const noexcept { return folder_; }

private:
    [[nodiscard]] bool TryTake(const IO::Location& folder);

    IO::Location folder_;
    std::optional<IO::ExclusiveFile> hold_;
};

}  // namespace SYC
