#include "IO/File.hpp"

#include "IO/Detail/Descriptor_posix.hpp"
#include "OVRoot/System.hpp"

#include <atomic>
#include <climits>
#include <cstdio>
#include <fcntl.h>
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

/// The file that a link at `path` stands for, present or not, so that replacing keeps the link.
OV::String ResolveLink(OV::String path)
{
    constexpr int mostLinks = 40;
    for (int links = 0; links < mostLinks; ++links) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0)
            return path;
        const OV::StringView name(target, static_cast<std::size_t>(length));
        path = name.starts_with('/') ? OV::String(name) : FolderOf(path) + "/" + OV::String(name);
    }
    return path;
}

/// The new content beside its target until it is renamed over it; deleted when that never happens.
/// What a killed process left is called "<target>.new-<process>-<number>".
class Replacement {
public:
    Replacement(const Location& place, OV::String target, bool isPrivate)
        : place_(place), target_(std::move(target))
    {
        struct stat former {};
        const bool exists = stat(target_.c_str(), &former) == 0;
        if (exists && !S_ISREG(former.st_mode))
            Posix::Fail(u"Cannot replace", place_, S_ISDIR(former.st_mode) ? EISDIR : EINVAL);
        // Closed to others until it has the mode of its predecessor.
        Create(exists || isPrivate ? PrivateMode : OrdinaryMode);
        if (exists && !isPrivate && fchmod(file_.Number(), former.st_mode & 07777) != 0) {
            Discard();
            Posix::Fail(u"Cannot give the mode of its predecessor to", place_);
        }
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
        struct stat status {};
        if (Retry([&] { return fsync(file_.Number()); }) != 0 ||
            fstat(file_.Number(), &status) != 0)
            Posix::Fail(u"Cannot flush", place_);
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
    void Create(mode_t mode)
    {
        static std::atomic<unsigned> counter{0};
        do {
            path_ = target_ + ".new-" + std::to_string(OV::System::ProcessId()) + "-" +
                    std::to_string(counter++);
            file_ = Descriptor(Retry([&] {
                return open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            }));
            // A left-over of a process that had our number is not ours to write to.
        } while (!file_ && errno == EEXIST);
        if (!file_) {
            path_.clear();
            Posix::Fail(u"Cannot open for writing", place_);
        }
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

}  // namespace

bool Exists(const Location& file)
{
    struct stat status {};
    return stat(file.ToNativePath().c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

std::optional<ChangeStamp> GetChangeStamp(const Location& file)
{
    struct stat status {};
    if (stat(file.ToNativePath().c_str(), &status) == 0)
        return Posix::StampOf(status);
    if (errno != ENOENT && errno != ENOTDIR)
        Posix::Fail(u"Cannot look at", file);
    return std::nullopt;
}

Content Read(const Location& file)
{
    const Descriptor opened(
        Retry([&] { return open(file.ToNativePath().c_str(), O_RDONLY | O_CLOEXEC); }));
    struct stat status {};
    if (!opened || fstat(opened.Number(), &status) != 0)
        Posix::Fail(u"Cannot open", file);
    if (S_ISDIR(status.st_mode))
        Posix::Fail(u"Cannot read", file, EISDIR);
    Content content{{}, Posix::StampOf(status)};
    // One byte more than the file should have, so that the read which meets the end needs no room.
    content.bytes.resize(static_cast<std::size_t>(status.st_size) + 1);
    std::size_t filled = 0;
    for (;;) {
        if (filled == content.bytes.size())
            content.bytes.resize(2 * filled + 4096);
        const auto count = Retry([&] {
            return read(opened.Number(), content.bytes.data() + filled,
                        content.bytes.size() - filled);
        });
        if (count < 0)
            Posix::Fail(u"Cannot read", file);
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    content.bytes.resize(filled);
    return content;
}

OV::String ReadAll(const Location& file)
{
    return Read(file).bytes;
}

ChangeStamp Replace(const Location& file, OV::StringView bytes, bool isPrivate)
{
    Replacement replacement(file, ResolveLink(file.ToNativePath()), isPrivate);
    replacement.Write(bytes);
    return replacement.Commit();
}

void Delete(const Location& file)
{
    const OV::String path = file.ToNativePath();
    for (int round = 0; round < Posix::MostRounds; ++round) {
        const Descriptor held = HoldForDeletion(file, path);
        if (!held && (errno == ENOENT || errno == ENOTDIR))
            return;
        // A file that is not ours to read, a link or a socket; any other failure may hide a holder.
        if (!held && errno != EACCES && errno != ELOOP && errno != ENXIO)
            Posix::Fail(u"Cannot delete", file);
        // Deleted and made anew since it was opened: that one may be held by its maker.
        if (held && !Posix::StillNames(path, held))
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
