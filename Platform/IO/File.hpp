#pragma once

#include "IO/Location.hpp"

#include <compare>
#include <optional>

/// Whole files and their attributes. Every failure throws IOException with the place.
namespace IO {

/// Tells whether a file may have changed: modification time in the file system's full resolution,
/// size and identity.
struct ChangeStamp {
    std::int64_t modificationNanoseconds = 0;
    std::uint64_t size = 0;
    std::uint64_t identity = 0;

    friend bool operator==(const ChangeStamp&, const ChangeStamp&) = default;
    /// Seconds since 1970-01-01 UTC as the formats hold them.
    [[nodiscard]] std::int32_t ModificationTime() const noexcept;
};

namespace File {

[[nodiscard]] bool Exists(const Location& file);
/// Nothing when the file does not exist.
[[nodiscard]] std::optional<ChangeStamp> GetChangeStamp(const Location& file);
/// The content and the stamp that belongs to it (both of one open file).
struct Content {
    OV::String bytes;
    ChangeStamp stamp;
};
[[nodiscard]] Content Read(const Location& file);
[[nodiscard]] OV::String ReadAll(const Location& file);

/// The first bytes of the content, at most `most`.
[[nodiscard]] OV::String ReadBeginning(const Location& file, std::size_t most);

/// Replaces the file as a whole: written beside the target, flushed to the disk, renamed over it.
/// Whoever reads meanwhile, and whatever happens to this process, sees the old content or the new
/// one. A new file is readable by its user alone when `isPrivate`. Returns the stamp of the new
/// file.
ChangeStamp Replace(const Location& file, OV::StringView bytes, bool isPrivate = false);

/// An absent file counts as deleted; a file that another process holds as ExclusiveFile throws
/// IOException with ErrorCode::HeldByOther.
void Delete(const Location& file);
/// Renames over whatever stands at `target`.
void Rename(const Location& source, const Location& target);

}  // namespace File
}  // namespace IO
