#pragma once

#include "CachedProjectInfo.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

namespace SYC {

/// One cached project as RegisteredProjects knew it when it was asked. A value that does not
/// change.
class SYC_API RegisteredProject {
public:
    /// Throws OV::NullReferenceException for none.
    explicit RegisteredProject(std::shared_ptr<const CachedProjectInfo> info);

    /// As the user wrote it.
    [[nodiscard]] OV::UniString GetServerName() const { return info_->GetServerName(); }
    /// In the letter case of the server.
    [[nodiscard]] OV::UniString GetProjectName() const { return info_->GetProjectName(); }
    /// The login name.
    [[nodiscard]] OV::UniString GetUserName() const { return info_->GetLoginName(); }
    /// The project URL, without a password.
    [[nodiscard]] IO::Location GetSyncraLocation() const;
    /// Where the cache stands.
    [[nodiscard]] IO::Location GetCacheDataFolderLocation() const
    {
        return info_->GetCacheFolderLocation();
    }
    /// All that was known of the cache; lives as long as this value or a copy.
    [[nodiscard]] const CachedProjectInfo& GetCachedProjectInfo() const { return *info_; }
    /// Times are seconds since 1970-01-01 UTC; 0 for never.
    [[nodiscard]] std::int32_t GetLastOpenedTime() const { return info_->GetLastOpenProjectTime(); }
    /// When the package was made that takes the cache to another computer.
    [[nodiscard]] std::int32_t GetTravelPackageCreationTime() const
    {
        return info_->GetTravelPackageCreationTime();
    }
    /// Whether such a package was made.
    [[nodiscard]] bool IsTravelPackageCreated() const { return info_->IsTravelPackageCreated(); }
    /// Whether this cache came in such a package.
    [[nodiscard]] bool ExtractedFromTravelPackage() const
    {
        return info_->ExtractedFromTravelPackage();
    }

private:
    std::shared_ptr<const CachedProjectInfo> info_;
};

}  // namespace SYC
