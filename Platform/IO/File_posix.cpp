#include "IO/File.hpp"

#include "IO/Detail/Descriptor_posix.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <unistd.h>

namespace IO::File {

namespace {

using Posix::Descriptor;
using Posix::Retry;

constexpr mode_t PrivateMode = S_IRUSR | S_IWUSR;
constexpr mode_t OrdinaryMode = PrivateMode | S_IRGRP | S_IROTH | S_IWGRP | S_IWOTH;  // less umask

OV::String FolderOf(const OV::String& path)
{
    const auto slash = path.rfind('/');
    return slash == OV::String::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/// The file that a link at `place` stands for, present or not, so that replacing keeps the link.
OV::String ResolveLink(const Location& place)
{
    constexpr int mostLinks = 40;
    OV::String path = place.ToNativePath();
    for (int links = 0; links < mostLinks; ++links) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0)
            return path;
        const OV::StringView name(target, static_cast<std::size_t>(length));
        path = name.starts_with('/') ? OV::String(name) : FolderOf(path) + "/" + OV::String(name);
    }
    Posix::FailToOpen(u"Cannot replace", place, ELOOP);
}

/// Marks a file that is being written for whoever else comes to its name; false with errno set when
/// somebody did before. Not `flock`: under its final name that would be an exclusive hold.
bool Claim(const Descriptor& file)
{
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return fcntl(file.Number(), F_OFD_SETLK, &whole) == 0;
}

/// Deletes what a killed process left at `path` beside `place`; false when its writer lives or it
/// is not ours.
bool DeleteLeftOver(const OV::String& path, const Location& place)
{
    constexpr int flags = O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const Descriptor file(Retry([&] { return open(path.c_str(), flags); }));
    return file && Claim(file) && Posix::StillNames(path, file, place) && unlink(path.c_str()) == 0;
}

/// The new content beside its target until it is renamed over it; deleted when that never happens.
/// It is called "<target>.new-<number>" with the least number that no living writer uses, so that
/// killed ones never leave more files than there were writers at once.
class Replacement {
public:
    // Through the other one, so that what was created is deleted when this one throws.
    Replacement(const Location& place, OV::String target, bool isPrivate)
        : Replacement(place, std::move(target))
    {
        struct stat former {};
        const bool exists = stat(target_.c_str(), &former) == 0;
        if (!exists && !Posix::IsNotThere(errno))
            Posix::Fail(u"Cannot look at", place_);
        if (exists && !S_ISREG(former.st_mode))
            Posix::FailToOpen(u"Cannot replace", place_, S_ISDIR(former.st_mode) ? EISDIR : EINVAL);
        // The folder alone decides whether a name can be replaced; who protects a file means it.
        if (exists && faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0)
            Posix::FailToOpen(u"Cannot open for writing", place_);
        if (exists && !isPrivate)
            mode_ = former.st_mode & 07777;
        // Closed to others until it has the mode of its predecessor.
        Create(exists || isPrivate ? PrivateMode : OrdinaryMode);
    }
    ~Replacement() { Discard(); }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void Write(OV::StringView bytes)
    {
        while (!bytes.empty()) {
            const auto written =
                Retry([&] { return write(file_.Number(), bytes.data(), bytes.size()); });
            if (written < 0)
                Posix::Fail(u"Cannot write", place_);
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
    }

    ChangeStamp Commit()
    {
        if (Retry([&] { return fsync(file_.Number()); }) != 0)
            Posix::Fail(u"Cannot flush", place_);
        // Last of all: what nobody may write to, nobody can claim after a killed process.
        if (mode_ && fchmod(file_.Number(), *mode_) != 0)
            Posix::Fail(u"Cannot give the mode of its predecessor to", place_);
        struct stat status {};
        if (fstat(file_.Number(), &status) != 0)
            Posix::Fail(u"Cannot look at", place_);
        if (std::rename(path_.c_str(), target_.c_str()) != 0)
            Posix::Fail(u"Cannot replace", place_);
        path_.clear();
        const Descriptor folder(
            open(FolderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder)
            fsync(folder.Number());
        return Posix::StampOf(status);
    }

private:
    Replacement(const Location& place, OV::String target)
        : place_(place), target_(std::move(target))
    {}

    void Create(mode_t mode)
    {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        for (int number = 0; !file_;) {
            OV::String path = target_ + ".new-" + std::to_string(number);
            file_ = Descriptor(Retry([&] { return open(path.c_str(), flags, mode); }));
            if (!file_ && errno != EEXIST)
                Posix::FailToOpen(u"Cannot open for writing", place_);
            if (!file_ && DeleteLeftOver(path, place_))
                continue;
            if (file_)
                path_ = std::move(path);
            if (file_ && IsTakenForLeftOver()) {
                file_ = Descriptor();
                path_.clear();
            }
            ++number;
        }
    }

    /// Between its creation and its claim, the file looks like one that a killed process left.
    [[nodiscard]] bool IsTakenForLeftOver() const
    {
        if (!Claim(file_) && (errno == EAGAIN || errno == EACCES))
            return true;
        return !Posix::StillNames(path_, file_, place_);
    }

    void Discard() noexcept
    {
        const int error = errno;
        if (!path_.empty())
            unlink(path_.c_str());
        path_.clear();
        errno = error;
    }

    const Location& place_;
    OV::String target_;
    OV::String path_;
    std::optional<mode_t> mode_;
    Descriptor file_;
};

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

struct Opened {
    Descriptor file;
    struct stat status {};
};

/// Without waiting for the other end of a pipe, which is refused like all that is no regular file.
Opened OpenRegular(const Location& file)
{
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    Opened opened{Descriptor(Retry([&] { return open(file.ToNativePath().c_str(), flags); }))};
    if (!opened.file || fstat(opened.file.Number(), &opened.status) != 0)
        Posix::FailToOpen(u"Cannot open", file);
    if (S_ISDIR(opened.status.st_mode))
        Posix::FailToOpen(u"Cannot read", file, EISDIR);
    if (!S_ISREG(opened.status.st_mode))
        throw IOException(ErrorCode::Other, u"Cannot read", file,
                          "it is no regular file; move it away", OV::SourcePlace::Here(),
                          Step::Open);
    return opened;
}

/// Reads into `bytes` from `filled` on until it is full or the file ends; returns how far.
std::size_t Fill(OV::String& bytes, std::size_t filled, const Descriptor& opened,
                 const Location& file)
{
    while (filled < bytes.size()) {
        const auto count = Retry(
            [&] { return read(opened.Number(), bytes.data() + filled, bytes.size() - filled); });
        if (count < 0)
            Posix::Fail(u"Cannot read", file);
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

[[noreturn]] void FailTooLong(const Location& file, std::uint64_t most)
{
    throw IOException(
        ErrorCode::Other, u"Cannot read", file,
        "it is longer than the " + std::to_string(most) +
            " bytes that a file of this kind may have; look at what it is and move it away");
}

void ReadTo(OV::String& bytes, const Descriptor& opened, const Location& file, std::uint64_t most,
            std::uint64_t expected)
{
    bytes.resize(static_cast<std::size_t>(expected));
    std::size_t filled = 0;
    while ((filled = Fill(bytes, filled, opened, file)) == bytes.size()) {
        if (filled > most)
            FailTooLong(file, most);
        bytes.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(2 * filled + 4096, most + 1)));
    }
    bytes.resize(filled);
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
    const Opened opened = OpenRegular(file);
    Content content{{}, Posix::StampOf(opened.status)};
    if (content.stamp.size > most)
        FailTooLong(file, most);
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
    const Opened opened = OpenRegular(file);
    OV::String bytes(most, '\0');
    bytes.resize(Fill(bytes, 0, opened.file, file));
    return bytes;
}

ChangeStamp Replace(const Location& file, OV::StringView bytes, bool isPrivate)
{
    Replacement replacement(file, ResolveLink(file), isPrivate);
    replacement.Write(bytes);
    return replacement.Commit();
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
