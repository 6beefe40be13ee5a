#pragma once

#include "IO/File.hpp"
#include "OVRoot/Export.hpp"

#include <functional>
#include <span>

/// Folders. Every failure throws IOException with the place.
namespace IO::Folder {

/// One thing that stands in a folder.
struct Entry {
    OV::UniString name;     ///< without the folder
    bool isFolder = false;  ///< a link counts as what it leads to
};

/// Throws when it cannot be told, as the next ones do.
[[nodiscard]] SYC_API bool Exists(const Location& folder);
/// Whether a link stands there, wherever it leads.
[[nodiscard]] SYC_API bool IsLink(const Location& folder);
/// Creates the folder and every missing one above it, for their user alone; an existing one is
/// fine.
SYC_API void CreateTree(const Location& folder);
/// Calls `visit` for each entry, in no particular order, until it returns false.
SYC_API void Enumerate(const Location& folder, const std::function<bool(const Entry&)>& visit);
/// Calls `visit` for each folder in `folder` that holds a file `fileName`, with the file's stamp,
/// in no particular order. Links count as what they lead to. Left out is what cannot be looked at,
/// and what has a name that is not UTF-8: no Location leads there.
SYC_API void
EnumerateHolding(const Location& folder, OV::UniStringView fileName,
                 const std::function<void(OV::UniString name, const ChangeStamp&)>& visit);
/// Whether an entry of that name, file or folder, stands in the folder.
[[nodiscard]] SYC_API bool Contains(const Location& folder, OV::UniStringView name);
/// A name derived from `wanted` that stands for nothing in `folder`: `wanted` itself, or with " 2",
/// " 3", ... behind it.
[[nodiscard]] SYC_API OV::UniString GenerateUnusedName(const Location& folder,
                                                       OV::UniStringView wanted);
/// Bytes of all files below the folder; links are not followed. Throws when a part of it cannot be
/// looked into.
[[nodiscard]] SYC_API std::uint64_t GetSize(const Location& folder);
/// Deletes the folder with everything in it; an absent one counts as deleted, and of a link only
/// the link goes. The entries named `last` go after all others, in that order, so that what is left
/// of a folder that is not deleted whole can be told by them.
SYC_API void DeleteTree(const Location& folder, std::span<const OV::UniStringView> last = {});

}  // namespace IO::Folder
