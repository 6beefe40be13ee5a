#include "IO/FileReplacement.hpp"

#include "IO/Detail/Descriptor_posix.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace IO {

using Posix::Descriptor;
using Posix::Retry;

namespace {

/// The disk begins early with a small file, and is seldom disturbed in a large one.
constexpr off_t LeastBetweenFlushes = 256 << 10;
constexpr off_t MostBetweenFlushes = 4 << 20;
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

}  // namespace

/// The new content beside its target until it is renamed over it; deleted when that never happens.
/// It is called "<target>.new-<number>" with the least number that no living writer uses, so that
/// killed ones never leave more files than there were writers at once.
class FileReplacement::Writing {
public:
    // Through the other one, so that what was created is deleted when this one throws.
    Writing(const Location& place, OV::String target, bool isPrivate)
        : Writing(place, std::move(target))
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
    ~Writing() { Discard(); }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    void Write(OV::StringView bytes)
    {
        while (!bytes.empty()) {
            const auto written =
                Retry([&] { return write(file_.Number(), bytes.data(), bytes.size()); });
            if (written < 0)
                Posix::Fail(u"Cannot write", place_);
            bytes.remove_prefix(static_cast<std::size_t>(written));
            unflushed_ += written;
        }
        // The disk begins while the caller makes the next piece; Commit waits for what is left.
        if (unflushed_ >= std::clamp(flushed_, LeastBetweenFlushes, MostBetweenFlushes))
            StartFlush();
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
    Writing(const Location& place, OV::String target) : place_(place), target_(std::move(target)) {}

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

    /// A failure shows when Commit waits for it.
    void StartFlush()
    {
#ifdef __linux__
        (void)sync_file_range(file_.Number(), flushed_, unflushed_, SYNC_FILE_RANGE_WRITE);
#endif
        flushed_ += std::exchange(unflushed_, 0);
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

    Location place_;
    OV::String target_;
    OV::String path_;
    std::optional<mode_t> mode_;
    Descriptor file_;
    off_t flushed_ = 0;
    off_t unflushed_ = 0;
};

FileReplacement::FileReplacement(const Location& file, bool isPrivate)
    : writing_(std::make_unique<Writing>(file, ResolveLink(file), isPrivate))
{}
FileReplacement::~FileReplacement() = default;

void FileReplacement::Write(OV::StringView bytes)
{
    writing_->Write(bytes);
}

ChangeStamp FileReplacement::Commit()
{
    return writing_->Commit();
}

}  // namespace IO
