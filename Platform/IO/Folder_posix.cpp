#include "IO/Folder.hpp"

#include "IO/Detail/Descriptor_posix.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace IO::Folder {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

OpenFolder Open(const Location& folder)
{
    OpenFolder opened(opendir(folder.ToNativePath().c_str()));
    if (!opened)
        Posix::Fail(u"Cannot open the folder", folder);
    return opened;
}

bool IsFolder(const OpenFolder& parent, const dirent& entry, bool followLinks)
{
    if (entry.d_type != DT_UNKNOWN && (entry.d_type != DT_LNK || !followLinks))
        return entry.d_type == DT_DIR;
    struct stat status {};
    return fstatat(dirfd(parent.get()), entry.d_name, &status,
                   followLinks ? 0 : AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

bool IsSelfOrParent(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

void Visit(const Location& folder, bool followLinks, const std::function<bool(const Entry&)>& visit)
{
    const OpenFolder opened = Open(folder);
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(opened.get());
        if (entry == nullptr)
            break;
        if (IsSelfOrParent(entry->d_name))
            continue;
        if (!visit({OV::FromUtf8(entry->d_name), IsFolder(opened, *entry, followLinks)}))
            return;
    }
    if (errno != 0)
        Posix::Fail(u"Cannot read the folder", folder);
}

}  // namespace

bool Exists(const Location& folder)
{
    struct stat status {};
    return stat(folder.ToNativePath().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void CreateTree(const Location& folder)
{
    if (Exists(folder))
        return;
    if (folder.GetComponents().size() > 1)
        CreateTree(folder.Parent());
    if (mkdir(folder.ToNativePath().c_str(), 0777) != 0 && !(errno == EEXIST && Exists(folder)))
        Posix::Fail(u"Cannot create the folder", folder);
}

void Enumerate(const Location& folder, const std::function<bool(const Entry&)>& visit)
{
    Visit(folder, true, visit);
}

bool Contains(const Location& folder, OV::UniStringView name)
{
    struct stat status {};
    return lstat(folder.Appended(name).ToNativePath().c_str(), &status) == 0;
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
    std::uint64_t size = 0;
    Visit(folder, false, [&](const Entry& entry) {
        const auto place = folder.Appended(entry.name);
        struct stat status {};
        if (entry.isFolder)
            size += GetSize(place);
        else if (lstat(place.ToNativePath().c_str(), &status) == 0 && S_ISREG(status.st_mode))
            size += static_cast<std::uint64_t>(status.st_size);
        return true;
    });
    return size;
}

void DeleteTree(const Location& folder)
{
    if (!Exists(folder))
        return;
    std::vector<Entry> entries;
    Visit(folder, false, [&](const Entry& entry) {
        entries.push_back(entry);
        return true;
    });
    for (const auto& entry : entries) {
        const auto place = folder.Appended(entry.name);
        if (entry.isFolder)
            DeleteTree(place);
        else if (unlink(place.ToNativePath().c_str()) != 0 && errno != ENOENT)
            Posix::Fail(u"Cannot delete", place);
    }
    if (rmdir(folder.ToNativePath().c_str()) != 0 && errno != ENOENT)
        Posix::Fail(u"Cannot delete the folder", folder);
}

}  // namespace IO::Folder
