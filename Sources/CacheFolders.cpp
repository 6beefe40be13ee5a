#include "CacheFolders.hpp"

#include "IO/Folder.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>

namespace SYC::CacheFolders {

namespace {

bool IsCacheOf(const CachedProjectInfo& cache, const Inner::ProjectConnectionInfo& connection)
{
    Inner::ProjectConnectionInfo cached;
    cache.GetProjectConnectionInfo(cached);
    return OV::EqualsIgnoreCase(cached.serverName, connection.serverName) &&
           cached.port == connection.port && cached.projectName == connection.projectName &&
           cached.userName == connection.userName;
}

}  // namespace

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
