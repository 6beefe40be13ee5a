#include "CacheFolders.hpp"

#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>

namespace SYC::CacheFolders {

namespace {

constexpr std::size_t LongestName = 128;
/// File systems take 255 bytes a name; the rest is for the number behind an unused name.
constexpr std::size_t LongestNameInBytes = 240;
constexpr OV::UniStringView ForbiddenCharacters = u"/\\:*?\"<>|\x7f";
constexpr OV::UniStringView HoldFileName = u"@CacheInfo.Lock";
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

bool IsCacheOf(const CachedProjectInfo& cache, const Inner::ProjectConnectionInfo& connection)
{
    Inner::ProjectConnectionInfo cached;
    cache.GetProjectConnectionInfo(cached);
    return OV::EqualsIgnoreCase(cached.serverName, connection.serverName) &&
           cached.port == connection.port && cached.projectName == connection.projectName &&
           cached.userName == connection.userName;
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

IO::Location GetDefaultDataFolder()
{
    return IO::GetCompanyFolder(IO::SpecialFolder::ApplicationData).Appended(u"Projects");
}

OV::Array<IO::Location> Find(const IO::Location& dataFolder)
{
    OV::Array<IO::Location> folders;
    if (!IO::Folder::Exists(dataFolder))
        return folders;
    IO::Folder::Enumerate(dataFolder, [&](const IO::Folder::Entry& entry) {
        if (entry.isFolder) {
            auto folder = dataFolder.Appended(entry.name);
            if (CachedProjectInfo::CachedProjectInfoExist(folder))
                folders.push_back(std::move(folder));
        }
        return true;
    });
    std::sort(folders.begin(), folders.end(), [](const auto& left, const auto& right) {
        return left.LastComponent() < right.LastComponent();
    });
    return folders;
}

std::shared_ptr<CachedProjectInfo> FindCache(const IO::Location& dataFolder,
                                             const Inner::ProjectConnectionInfo& connection)
{
    for (const auto& folder : Find(dataFolder)) {
        try {
            auto cache = std::make_shared<CachedProjectInfo>(folder);
            if (IsCacheOf(*cache, connection))
                return cache;
        } catch (const OV::Exception& error) {
            OV::Logger::Warning("SYClient", u"Cache folder passed over: %", {error.GetMessage()});
        }
    }
    return nullptr;
}

}  // namespace SYC::CacheFolders
