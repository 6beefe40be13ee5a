#pragma once

#include "IO/ExclusiveFile.hpp"
#include "IO/File.hpp"
#include "OVRoot/Array.hpp"
#include "ProjectConnectionInfo.hpp"

/// The folders of caches on the disk: how they are named, made, found and removed. What stands in
/// them is for CachedProjectInfo, which of them are known for RegisteredProjects.
namespace SYC::CacheFolders {

/// Folder name of a connection's cache: server, project and login name with "_" between them, cut
/// to 128 code units. Characters that cannot stand in a folder name on every system (control
/// characters and / \ : * ? " < > |) become "_". A cut never leaves half a character at the end,
/// and goes further where the name would be longer than file systems take (240 bytes of UTF-8).
[[nodiscard]] OV::UniString MakeName(const Inner::ProjectConnectionInfo& info);

struct Found {
    OV::UniString name;
    /// Of its "CacheInfo.xml".
    IO::ChangeStamp stamp;
};

/// Every folder directly below `dataFolder` that holds a "CacheInfo.xml", in no particular order;
/// none when there is no such data folder. Those that are being removed are left out. Costs one
/// look at the disk an entry.
[[nodiscard]] OV::Array<Found> Find(const IO::Location& dataFolder);

/// Deletes a cache folder with all that it holds, of one that is a link only the link. It goes at
/// once under its name, for which a new cache may be made meanwhile. What is left of it when this
/// ends early is a cache called "... .removed". Throws IO::IOException, with HeldByOther while it
/// is being set up or somebody holds it (CacheHold). `refuse`, which may be null, throws when the
/// content of the folder must stay; it is asked when nobody can change that any more, and not for a
/// link.
void Remove(const IO::Location& folder, void (*refuse)(const IO::Location& folder) = nullptr);

/// Whether the folder is what an unfinished Remove left of a cache of that connection.
[[nodiscard]] bool IsRemains(const IO::Location& folder, const Inner::ProjectConnectionInfo& info);

/// Whether the name is the one that a cache of that connection gets, or that name with a number.
[[nodiscard]] bool IsNameOf(OV::UniStringView name, const Inner::ProjectConnectionInfo& info);

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

}  // namespace SYC::CacheFolders
