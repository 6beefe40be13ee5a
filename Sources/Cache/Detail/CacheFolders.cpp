#include "Cache/Detail/CacheFolders.hpp"

#include "Cache/CacheInfoFormat.hpp"
#include "Cache/Detail/CacheHold.hpp"
#include "Files/Detail/InfoFileLock.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Ascii.hpp"

#include <algorithm>

namespace SYC::CacheFolders {

namespace Core = Syncra::Server::ManagementTool::Core;

namespace {

constexpr std::size_t LongestName = 128;
/// File systems take 255 bytes a name; the rest is for the number behind an unused name.
constexpr std::size_t LongestNameInBytes = 240;
constexpr OV::UniStringView ForbiddenCharacters = u"/\\:*?\"<>|\x7f";
constexpr OV::UniStringView HoldFileName = u"@CacheInfo.Lock";
constexpr OV::UniStringView RemovedSuffix = u".removed";
/// Each round that is lost means that another process won it; so many at once is an error.
constexpr int MostRounds = 1000;

void Cut(OV::UniString& name, std::size_t length)
{
    const bool cutsPair =
        length > 0 && length < name.size() && OV::IsHighSurrogate(name[length - 1]);
    name.resize(cutsPair ? length - 1 : length);
}

void CutToBytes(OV::UniString& name, std::size_t bytes)
{
    while (OV::ToUtf8(name).size() > bytes)
        Cut(name, name.size() - 1);
}

/// Without the number that an unused name may have got.
OV::UniStringView WithoutNumber(OV::UniStringView name)
{
    const auto digits = name.find_last_not_of(u"0123456789");
    const bool isNumbered = digits != name.npos && digits + 1 < name.size() && name[digits] == u' ';
    return isNumbered ? name.substr(0, digits) : name;
}

bool HasRemovedName(OV::UniStringView name)
{
    return WithoutNumber(name).ends_with(RemovedSuffix);
}

bool IsBeingRemoved(const IO::Location& parent, const OV::UniString& name)
{
    return HasRemovedName(name) &&
           Core::InfoFileLock::IsHeldByOther(parent.Appended(name).Appended(HoldFileName));
}

/// Throws when that cannot be found out.
bool HoldsDescriptor(const IO::Location& folder)
{
    return IO::File::GetChangeStamp(folder.Appended(CacheInfoFormat::FileName)).has_value();
}

/// Under another name, whose folder is returned: what is half deleted must not be opened, nor taken
/// for a new cache.
IO::Location Rename(const IO::Location& folder)
{
    OV::UniString name = folder.LastComponent();
    // What is left of an earlier removal does not get a longer name each time.
    if (HasRemovedName(name))
        name.resize(WithoutNumber(name).size() - RemovedSuffix.size());
    CutToBytes(name, LongestNameInBytes - RemovedSuffix.size());
    const IO::Location parent = folder.Parent();
    const IO::Location removed =
        parent.Appended(IO::Folder::GenerateUnusedName(parent, name.append(RemovedSuffix)));
    IO::File::Rename(folder, removed);
    return removed;
}

/// Whether an entry of that name may be taken: nothing stands there, or a folder that is no cache.
/// A test that fails proves nothing, so it counts as taken.
bool IsFree(const IO::Location& parent, const OV::UniString& name)
{
    try {
        if (!IO::Folder::Contains(parent, name))
            return true;
        const IO::Location folder = parent.Appended(name);
        return IO::Folder::Exists(folder) && !HoldsDescriptor(folder);
    } catch (const IO::IOException&) {
        return false;
    }
}

void RefuseWhenHeld(const IO::Location& folder, const IO::Location& named)
{
    if (CacheHold::IsHeld(folder))
        throw IO::IOException(IO::ErrorCode::HeldByOther, u"Cannot remove the cache", named,
                              "a program has its project open; close it there first");
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
    CutToBytes(name, LongestNameInBytes);
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
    std::erase_if(found, [&](const Found& each) { return IsBeingRemoved(dataFolder, each.name); });
    return found;
}

bool IsRemains(const IO::Location& folder, const Inner::ProjectConnectionInfo& info)
{
    // A login name may end like that as well.
    return HasRemovedName(folder.LastComponent()) && !HasRemovedName(MakeName(info));
}

bool IsNameOf(OV::UniStringView name, const Inner::ProjectConnectionInfo& info)
{
    const OV::UniString wanted = MakeName(info);
    const std::size_t ofServer = std::min(info.serverName.size(), wanted.size());
    const auto isWanted = [&](OV::UniStringView given) {
        return given.size() == wanted.size() &&
               OV::EqualsIgnoreCase(given.substr(0, ofServer), wanted.substr(0, ofServer)) &&
               given.substr(ofServer) == OV::UniStringView(wanted).substr(ofServer);
    };
    return isWanted(name) || isWanted(WithoutNumber(name));
}

void Remove(const IO::Location& folder, void (*refuse)(const IO::Location& folder))
{
    auto hold = IO::ExclusiveFile::TryOpen(folder.Appended(HoldFileName));
    if (!hold)
        throw IO::IOException(IO::ErrorCode::HeldByOther, u"Cannot remove the cache", folder,
                              "another program is setting it up or removing it");
    RefuseWhenHeld(folder, folder);
    // What a link leads to stays, so the hold there ends like any other.
    if (IO::Folder::IsLink(folder)) {
        hold->DeleteAndClose();
        refuse = nullptr;
    }
    if (refuse != nullptr)
        refuse(folder);
    // Last of all what makes it a cache: if this ends in the middle, the rest is listed and can be
    // removed again.
    constexpr OV::UniStringView last[] = {CacheInfoFormat::FileName, HoldFileName};
    const IO::Location removed = Rename(folder);
    try {
        RefuseWhenHeld(removed, folder);
        // Somebody may have opened, changed and closed it before it got another name.
        if (refuse != nullptr)
            refuse(removed);
    } catch (...) {
        IO::File::Rename(removed, folder);
        throw;
    }
    IO::Folder::DeleteTree(removed, last);
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
    if (!HoldsDescriptor(folder))
        return true;
    hold_->DeleteAndClose();
    hold_.reset();
    return false;
}

}  // namespace SYC::CacheFolders
