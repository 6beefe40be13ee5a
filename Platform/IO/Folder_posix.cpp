#include "IO/Folder.hpp"

#include "IO/Detail/Descriptor_posix.hpp"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace IO::Folder {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

OpenFolder Open(const Location& folder)
{
    OpenFolder opened;
    do
        opened.reset(opendir(folder.ToNativePath().c_str()));
    while (!opened && errno == EINTR);
    if (!opened)
        Posix::Fail(u"Cannot open the folder", folder);
    return opened;
}

/// The folder `name` in `parent`, never one that a link leads to; empty with errno set when it is
/// none.
OpenFolder OpenBelow(int parent, const char* name)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int opened = Posix::Retry([&] { return openat(parent, name, flags); });
    return OpenFolder(opened < 0 ? nullptr : fdopendir(opened));
}

bool IsFolder(const OpenFolder& parent, const dirent& entry)
{
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK)
        return entry.d_type == DT_DIR;
    struct stat status {};
    return fstatat(dirfd(parent.get()), entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

bool IsSelfOrParent(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// Calls `visit(entry)` for each entry of an open folder until it returns false.
template <class VisitEntry>
void Visit(const OpenFolder& opened, const Location& folder, VisitEntry&& visit)
{
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(opened.get());
        if (entry == nullptr)
            break;
        if (!IsSelfOrParent(entry->d_name) && !visit(*entry))
            return;
    }
    if (errno != 0)
        Posix::Fail(u"Cannot read the folder", folder);
}

/// Deleted, or replaced by what is no folder, since its name was read.
bool IsGone(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

// What goes through a whole tree uses the names as the system has them: not every name is UTF-8,
// and a path may be longer than the system takes.

std::uint64_t SizeBelow(const OpenFolder& opened, const Location& folder)
{
    std::uint64_t size = 0;
    const int parent = dirfd(opened.get());
    Visit(opened, folder, [&](const dirent& entry) {
        struct stat status {};
        if (fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            return true;  // deleted meanwhile
        if (S_ISREG(status.st_mode))
            size += static_cast<std::uint64_t>(status.st_size);
        if (!S_ISDIR(status.st_mode))
            return true;
        const auto below = OpenBelow(parent, entry.d_name);
        if (below)
            size += SizeBelow(below, folder);
        else if (!IsGone(errno))
            Posix::Fail(u"Cannot look into a folder in", folder);
        return true;
    });
    return size;
}

using Last = std::span<const OV::UniStringView>;

/// The names in `last` behind all others, in the order of `last`.
void MoveToEnd(std::vector<OV::String>& names, Last last)
{
    for (const auto name : last) {
        const auto at = std::find(names.begin(), names.end(), OV::ToUtf8(name));
        if (at != names.end())
            std::rotate(at, at + 1, names.end());
    }
}

/// Deletes the entry `name` of `parent` with all below it. `place` is what a message names.
void DeleteEntry(int parent, const char* name, const Location& place, Last last)
{
    const OpenFolder folder = OpenBelow(parent, name);
    if (!folder && !IsGone(errno))
        Posix::Fail(u"Cannot delete what is in", place);
    // All names first: what a folder lists while it is being emptied is not defined.
    std::vector<OV::String> names;
    if (folder)
        Visit(folder, place, [&](const dirent& entry) {
            names.emplace_back(entry.d_name);
            return true;
        });
    MoveToEnd(names, last);
    for (const auto& below : names)
        DeleteEntry(dirfd(folder.get()), below.c_str(), place, {});
    if (unlinkat(parent, name, folder ? AT_REMOVEDIR : 0) != 0 && errno != ENOENT)
        Posix::Fail(u"Cannot delete", place);
}

/// Whether something stands there; a look that fails tells neither, and throws.
bool Look(int (*look)(const char*, struct stat*), const Location& place, struct stat& status)
{
    if (look(place.ToNativePath().c_str(), &status) == 0)
        return true;
    if (errno != ENOENT && errno != ENOTDIR)
        Posix::Fail(u"Cannot look at", place);
    return false;
}

}  // namespace

bool Exists(const Location& folder)
{
    struct stat status {};
    return Look(stat, folder, status) && S_ISDIR(status.st_mode);
}

bool IsLink(const Location& folder)
{
    struct stat status {};
    return Look(lstat, folder, status) && S_ISLNK(status.st_mode);
}

void CreateTree(const Location& folder)
{
    if (Exists(folder))
        return;
    if (folder.GetComponents().size() > 1)
        CreateTree(folder.Parent());
    constexpr mode_t mode = 0700;
    if (mkdir(folder.ToNativePath().c_str(), mode) != 0 && !(errno == EEXIST && Exists(folder)))
        Posix::Fail(u"Cannot create the folder", folder);
}

void Enumerate(const Location& folder, const std::function<bool(const Entry&)>& visit)
{
    const OpenFolder opened = Open(folder);
    Visit(opened, folder, [&](const dirent& entry) {
        return visit({OV::FromUtf8(entry.d_name), IsFolder(opened, entry)});
    });
}

void EnumerateHolding(const Location& folder, OV::UniStringView fileName,
                      const std::function<void(OV::UniString name, const ChangeStamp&)>& visit)
{
    const OpenFolder opened = Open(folder);
    const OV::String suffix = "/" + OV::ToUtf8(fileName);
    OV::String path;
    Visit(opened, folder, [&](const dirent& entry) {
        if (entry.d_type == DT_REG || !OV::IsWellFormedUtf8(entry.d_name))
            return true;
        path.assign(entry.d_name).append(suffix);
        struct stat status {};
        if (fstatat(dirfd(opened.get()), path.c_str(), &status, 0) == 0 && !S_ISDIR(status.st_mode))
            visit(OV::FromUtf8(entry.d_name), Posix::StampOf(status));
        return true;
    });
}

bool Contains(const Location& folder, OV::UniStringView name)
{
    struct stat status {};
    return Look(lstat, folder.Appended(name), status);
}

OV::UniString GenerateUnusedName(const Location& folder, OV::UniStringView wanted)
{
    OV::UniString name(wanted);
    for (int number = 2; Contains(folder, name); ++number)
        name = OV::UniString(wanted) + u" " + OV::ToText(number);
    return name;
}

std::uint64_t GetSize(const Location& folder)
{
    return SizeBelow(Open(folder), folder);
}

void DeleteTree(const Location& folder, std::span<const OV::UniStringView> last)
{
    const OV::String path = folder.ToNativePath();
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR))
        return;
    DeleteEntry(AT_FDCWD, path.c_str(), folder, last);
}

}  // namespace IO::Folder
