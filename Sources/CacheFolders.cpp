#include "Detail/CacheFolders.hpp"

#include "CacheInfoFormat.hpp"
#include "CachedProjectInfo.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"

namespace SYC::CacheFolders {

namespace {

constexpr std::size_t LongestName = 128;
/// File systems take 255 bytes a name; the rest is for the number behind an unused name.
constexpr std::size_t LongestNameInBytes = 240;
constexpr OV::UniStringView ForbiddenCharacters = u"/\\:*?\"<>|\x7f";
constexpr OV::UniStringView HoldFileName = u"@CacheInfo.Lock";
constexpr OV::UniStringView RemovedSuffix = u".removed";
/// Each round that is lost means that another process won it; so many at once is an error.
constexpr int MostRounds = 1000;

constexpr bool IsHighSurrogate(char16_t c)
{
    return c >= 0xD800 && c <= 0xDBFF;
}

void Cut(OV::UniString& name, std::size_t length)
{
    const bool cutsPair = length > 0 && length < name.size() && IsHighSurrogate(name[length - 1]);
    name.resize(cutsPair ? length - 1 : length);
}

/// Whether an entry of that name may be taken: nothing stands there, or a folder that is no cache.
/// A test that fails proves nothing, so it counts as taken.
bool IsFree(const IO::Location& parent, const OV::UniString& name)
{
    try {
        if (!IO::Folder::Contains(parent, name))
            return true;
        const IO::Location folder = parent.Appended(name);
        return IO::Folder::Exists(folder) && !CachedProjectInfo::CachedProjectInfoExist(folder);
    } catch (const IO::IOException&) {
        return false;
    }
}

}  // namespace

OV::UniString MakeName(const Inner::ProjectConnectionInfo& info)
{
    OV::UniString name = info.serverName + u'_' + info.projectName + u'_' + info.userName;
    for (char16_t& c : name)
        if (c < u' ' || ForbiddenCharacters.find(c) != ForbiddenCharacters.npos)
            c = u'_';
    if (name.size() > LongestName)
        Cut(name, LongestName);
    while (OV::ToUtf8(name).size() > LongestNameInBytes)
        Cut(name, name.size() - 1);
    return name;
}

OV::Array<Found> Find(const IO::Location& dataFolder)
{
    OV::Array<Found> found;
    if (IO::Folder::Exists(dataFolder))
        IO::Folder::EnumerateHolding(dataFolder, CacheInfoFormat::FileName,
                                     [&](OV::UniString name, const IO::ChangeStamp& stamp) {
                                         found.push_back({std::move(name), stamp});
                                     });
    return found;
}

void Remove(const IO::Location& folder)
{
    auto hold = IO::ExclusiveFile::TryOpen(folder.Appended(HoldFileName));
    if (!hold)
        throw IO::IOException(IO::ErrorCode::HeldByOther, u"Cannot remove the cache", folder,
                              "another program is setting it up");
    const IO::Location parent = folder.Parent();
    // Under another name first: what is half deleted must not be opened, nor taken for a new cache.
    const IO::Location removed = parent.Appended(
        IO::Folder::GenerateUnusedName(parent, folder.LastComponent().append(RemovedSuffix)));
    IO::File::Rename(folder, removed);
    IO::Folder::DeleteTree(removed);
}

NewFolder::NewFolder(const IO::Location& parent, const OV::UniString& name)
{
    IO::Folder::CreateTree(parent);
    OV::UniString candidate = name;
    for (int round = 0; round < MostRounds; ++round) {
        if (!IsFree(parent, candidate))
            candidate = IO::Folder::GenerateUnusedName(parent, name);
        if (TryTake(parent.Appended(candidate)))
            return;
        candidate = IO::Folder::GenerateUnusedName(parent, name);
    }
    throw IO::IOException(IO::ErrorCode::AlreadyExists, u"Creating a cache folder",
                          parent.Appended(name), "every name is taken");
}

NewFolder::~NewFolder()
{
    try {
        if (hold_)
            hold_->DeleteAndClose();
    } catch (const OV::Exception&) {
        // A lock file left behind proves nothing and is in nobody's way.
    }
}

bool NewFolder::TryTake(const IO::Location& folder)
{
    IO::Folder::CreateTree(folder);
    folder_ = folder;
    try {
        hold_ = IO::ExclusiveFile::TryOpen(folder.Appended(HoldFileName));
        if (!hold_)
            return false;
    } catch (const IO::IOException&) {
        // Where no lock file can be made, no descriptor can be written either; whoever tries tells
        // the user about that.
        return true;
    }
    // Another process may have finished the folder between the first look and the hold.
    if (!CachedProjectInfo::CachedProjectInfoExist(folder))
        return true;
    hold_->DeleteAndClose();
    hold_.reset();
    return false;
}

}  // namespace SYC::CacheFolders
