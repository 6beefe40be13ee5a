#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"

#include <compare>
#include <optional>
#include <span>

/// Whole files and their attributes. Every failure throws IOException with the place.
namespace IO {

/// Tells whether a file may have changed: modification time in the file system's full resolution,
/// size and identity.
struct SYC_API ChangeStamp {
    std::int64_t modificationNanoseconds = 0;  ///< as the file system tells it
    std::uint64_t size = 0;                    ///< in bytes
    /// of the file on its disk: another one under the same name has another
    std::uint64_t identity = 0;

    friend bool operator==(const ChangeStamp&, const ChangeStamp&) = default;
    /// Seconds since 1970-01-01 UTC as the formats hold them.
    [[nodiscard]] std::int32_t ModificationTime() const noexcept;
};

namespace File {

/// Whether something that is no folder stands there. Throws when that cannot be told: a test that
/// fails is not "no".
[[nodiscard]] SYC_API bool Exists(const Location& file);
/// Nothing when the file does not exist.
[[nodiscard]] SYC_API std::optional<ChangeStamp> GetChangeStamp(const Location& file);

/// What a file of each kind may hold at most, in bytes. Far more than any real one has: it is there
/// so that a damaged, foreign or endless file costs an error and not the memory.
inline constexpr std::uint64_t MostOfValueFile = 32 << 20;
/// The same for files of mails and of logs.
/// @{
inline constexpr std::uint64_t MostOfMailFile = std::uint64_t{4} << 30;
inline constexpr std::uint64_t MostOfLogFile = std::uint64_t{16} << 30;
/// @}

/// The content and the stamp that belongs to it (both of one open file).
struct Content {
    OV::String bytes;   ///< all of them
    ChangeStamp stamp;  ///< of that very content
};
/// Reads a regular file of at most `most` bytes; anything else that stands there (a pipe, a device,
/// a longer file) throws. Memory grows only with bytes that really arrived.
[[nodiscard]] SYC_API Content Read(const Location& file, std::uint64_t most = MostOfValueFile);
/// The content alone.
[[nodiscard]] SYC_API OV::String ReadAll(const Location& file,
                                         std::uint64_t most = MostOfValueFile);

/// What the user names as input: a file, or a pipe that is read to its end. Throws when it is
/// longer than `most` bytes.
[[nodiscard]] SYC_API OV::String ReadInput(const Location& input, std::uint64_t most);

/// The first bytes of a regular file, at most `most`.
[[nodiscard]] SYC_API OV::String ReadBeginning(const Location& file, std::size_t most);

/// Replaces the file as a whole: written beside the target, flushed to the disk, renamed over it.
/// Whoever reads meanwhile, and whatever happens to this process, sees the old content or the new
/// one. A new file is readable by its user alone when `isPrivate`; one that is there and that the
/// user may not write to stays as it is. Returns the stamp of the new file. A failure tells by
/// IOException::GetStep whether anything was opened.
SYC_API ChangeStamp Replace(const Location& file, OV::StringView bytes, bool isPrivate = false);

/// Bytes that take the place of as many others.
struct Patch {
    std::uint64_t at;  ///< of the first one in the file
    OV::String bytes;  ///< the new ones
};
/// Changes the file where it stands, as long as it has that stamp: puts `added` behind what it
/// holds, and when that is on the disk, makes the patches, of which each should be right without
/// the others. Whoever reads meanwhile or after a crash may meet only a part of what was added, or
/// all of that and some of the patches. Returns the new stamp, which no state of the file had
/// before; nothing when the file has another stamp than that, or its file system cannot tell such
/// changes apart: it is then to be replaced. After a failure nobody knows what was done.
[[nodiscard]] SYC_API std::optional<ChangeStamp> Amend(const Location& file,
                                                       const ChangeStamp& stamp,
                                                       OV::StringView added,
                                                       std::span<const Patch> patches);

/// Adds bytes to the end of the file, in one piece even when other processes add to it at once; a
/// new one is readable by its user alone. One of `most` bytes or more is renamed to "NAME.1" first.
SYC_API void Append(const Location& file, OV::StringView bytes, std::uint64_t most);

/// Makes an empty file that its user alone can read; false when something stands there already,
/// made a moment ago by another process or long before.
SYC_API bool CreatePrivate(const Location& file);
/// Whether others than its user may read the file.
[[nodiscard]] SYC_API bool IsReadableByOthers(const Location& file);

/// An absent file counts as deleted; a file that another process holds as ExclusiveFile throws
/// IOException with ErrorCode::HeldByOther.
SYC_API void Delete(const Location& file);
/// Renames over whatever stands at `target`.
SYC_API void Rename(const Location& source, const Location& target);

}  // namespace File
}  // namespace IO
