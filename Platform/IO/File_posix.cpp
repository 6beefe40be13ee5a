#include "IO/File.hpp"

#include "IO/Detail/Descriptor_posix.hpp"
#include "IO/FileReplacement.hpp"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace IO::File {

namespace {

using Posix::Descriptor;
using Posix::Retry;

constexpr mode_t PrivateMode = S_IRUSR | S_IWUSR;

[[noreturn]] void FailHeld(const Location& place)
{
    throw IOException(ErrorCode::HeldByOther, u"Cannot delete", place,
                      "the file is held open for exclusive use");
}

/// A hold on the file at `path` that nobody else has; throws HeldByOther when somebody does. Empty,
/// with errno set, for what cannot be opened for reading: nobody can be told to hold that.
Descriptor HoldForDeletion(const Location& place, const OV::String& path)
{
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    Descriptor file(Retry([&] { return open(path.c_str(), flags); }));
    if (file && flock(file.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        FailHeld(place);
    return file;
}

void ReadTo(OV::String& bytes, const Descriptor& opened, const Location& file, std::uint64_t most,
            std::uint64_t expected)
{
    bytes.resize(static_cast<std::size_t>(expected));
    std::size_t filled = 0;
    while ((filled += Posix::Fill(opened, file, bytes.data() + filled, bytes.size() - filled)) ==
           bytes.size()) {
        if (filled > most)
            Posix::FailTooLong(file, most);
        bytes.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(2 * filled + 4096, most + 1)));
    }
    bytes.resize(filled);
}

void WriteAt(const Descriptor& opened, const Location& file, std::uint64_t at, OV::StringView bytes)
{
    while (!bytes.empty()) {
        const auto written = Retry([&] {
            return pwrite(opened.Number(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        });
        if (written < 0)
            Posix::Fail(u"Cannot write", file);
        at += static_cast<std::uint64_t>(written);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void Flush(const Descriptor& opened, const Location& file)
{
    if (Retry([&] { return fsync(opened.Number()); }) != 0)
        Posix::Fail(u"Cannot flush", file);
}

ChangeStamp StampOf(const Descriptor& opened, const Location& file)
{
    struct stat status {};
    if (fstat(opened.Number(), &status) != 0)
        Posix::Fail(u"Cannot look at", file);
    return Posix::StampOf(status);
}

}  // namespace

bool Exists(const Location& file)
{
    struct stat status {};
    if (stat(file.ToNativePath().c_str(), &status) == 0)
        return !S_ISDIR(status.st_mode);
    if (!Posix::IsNotThere(errno))
        Posix::Fail(u"Cannot look at", file);
    return false;
}

std::optional<ChangeStamp> GetChangeStamp(const Location& file)
{
    struct stat status {};
    if (stat(file.ToNativePath().c_str(), &status) == 0)
        return Posix::StampOf(status);
    if (!Posix::IsNotThere(errno))
        Posix::Fail(u"Cannot look at", file);
    return std::nullopt;
}

Content Read(const Location& file, std::uint64_t most)
{
    const Posix::Opened opened = Posix::OpenRegular(file);
    Content content{{}, Posix::StampOf(opened.status)};
    if (content.stamp.size > most)
        Posix::FailTooLong(file, most);
    // A file with holes says more than it has; one byte more, so that the read which meets the end
    // needs no room.
    constexpr std::uint64_t bytesOfBlock = 512;
    const auto stored = static_cast<std::uint64_t>(opened.status.st_blocks) * bytesOfBlock;
    ReadTo(content.bytes, opened.file, file, most, std::min(content.stamp.size, stored) + 1);
    return content;
}

OV::String ReadAll(const Location& file, std::uint64_t most)
{
    return Read(file, most).bytes;
}

OV::String ReadInput(const Location& input, std::uint64_t most)
{
    const Descriptor opened(
        Retry([&] { return open(input.ToNativePath().c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!opened)
        Posix::FailToOpen(u"Cannot open", input);
    OV::String bytes;
    ReadTo(bytes, opened, input, most, 0);
    return bytes;
}

OV::String ReadBeginning(const Location& file, std::size_t most)
{
    const Posix::Opened opened = Posix::OpenRegular(file);
    OV::String bytes(most, '\0');
    bytes.resize(Posix::Fill(opened.file, file, bytes.data(), most));
    return bytes;
}

ChangeStamp Replace(const Location& file, OV::StringView bytes, bool isPrivate)
{
    FileReplacement replacement(file, isPrivate);
    replacement.Write(bytes);
    return replacement.Commit();
}

std::optional<ChangeStamp> Amend(const Location& file, const ChangeStamp& stamp,
                                 OV::StringView added, std::span<const Patch> patches)
{
    constexpr int flags = O_WRONLY | O_CLOEXEC | O_NONBLOCK;
    const Descriptor opened(Retry([&] { return open(file.ToNativePath().c_str(), flags); }));
    if (!opened && Posix::IsNotThere(errno))
        return std::nullopt;
    if (!opened)
        Posix::FailToOpen(u"Cannot open for writing", file);
    if (StampOf(opened, file) != stamp)
        return std::nullopt;
    try {
        WriteAt(opened, file, stamp.size, added);
        if (!added.empty())
            Flush(opened, file);
    } catch (const IOException&) {
        // Best of all nothing stands behind what the file held; else its next reader finds it.
        (void)!ftruncate(opened.Number(), static_cast<off_t>(stamp.size));
        throw;
    }
    for (const Patch& patch : patches)
        WriteAt(opened, file, patch.at, patch.bytes);
    // The system's clock stands still for some milliseconds, in which a file may change twice and
    // be read in between.
    const auto time =
        std::max(StampOf(opened, file).modificationNanoseconds, stamp.modificationNanoseconds) + 1;
    constexpr std::int64_t second = 1'000'000'000;
    const timespec times[] = {{0, UTIME_OMIT}, {time / second, time % second}};
    // Only its owner may give a file a time.
    if (futimens(opened.Number(), times) != 0)
        return std::nullopt;
    Flush(opened, file);
    const ChangeStamp now = StampOf(opened, file);
    return now.modificationNanoseconds == time ? std::optional(now) : std::nullopt;
}

void Append(const Location& file, OV::StringView bytes, std::uint64_t most)
{
    const OV::String path = file.ToNativePath();
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && static_cast<std::uint64_t>(status.st_size) >= most)
        (void)rename(path.c_str(), (path + ".1").c_str());  // another process may have done it
    constexpr int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC;
    const Descriptor opened(Retry([&] { return open(path.c_str(), flags, PrivateMode); }));
    if (!opened)
        Posix::FailToOpen(u"Cannot write to", file);
    const auto written = Retry([&] { return write(opened.Number(), bytes.data(), bytes.size()); });
    if (written < 0 || static_cast<std::size_t>(written) != bytes.size())
        Posix::Fail(u"Cannot write to", file);
}

bool CreatePrivate(const Location& file)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    const Descriptor made(
        Retry([&] { return open(file.ToNativePath().c_str(), flags, PrivateMode); }));
    if (!made && errno != EEXIST)
        Posix::FailToOpen(u"Cannot create", file);
    return static_cast<bool>(made);
}

bool IsReadableByOthers(const Location& file)
{
    struct stat status {};
    if (stat(file.ToNativePath().c_str(), &status) != 0)
        Posix::Fail(u"Cannot look at", file);
    return (status.st_mode & (S_IRGRP | S_IROTH)) != 0;
}

void Delete(const Location& file)
{
    const OV::String path = file.ToNativePath();
    for (int round = 0; round < Posix::MostRounds; ++round) {
        const Descriptor held = HoldForDeletion(file, path);
        if (!held && Posix::IsNotThere(errno))
            return;
        // A file that is not ours to read, a link or a socket; any other failure may hide a holder.
        if (!held && errno != EACCES && errno != ELOOP && errno != ENXIO)
            Posix::Fail(u"Cannot delete", file);
        // Deleted and made anew since it was opened: that one may be held by its maker.
        if (held && !Posix::StillNames(path, held, file))
            continue;
        if (unlink(path.c_str()) != 0 && errno != ENOENT)
            Posix::Fail(u"Cannot delete", file);
        return;
    }
    FailHeld(file);
}

void Rename(const Location& source, const Location& target)
{
    if (std::rename(source.ToNativePath().c_str(), target.ToNativePath().c_str()) != 0)
        Posix::Fail(u"Cannot rename", source);
}

}  // namespace IO::File
