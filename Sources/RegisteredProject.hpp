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

    [[nodiscard]] OV::UniString GetServerName() const { return info_->GetServerName(); }
    [[nodiscard]] OV::UniString GetProjectName() const { return info_->GetProjectName(); }
    /// The login name.
    [[nodiscard]] OV::UniString GetUserName() const { return info_->GetLoginName(); }
    /// The project URL, without a password.
    [[nodiscard]] IO::Location GetSyncraLocation() const;
    [[nodiscard]] IO::Location GetCacheDataFolderLocation() const
    {
        return info_->GetCacheFolderLocation();
    }
    [[nodiscard]] const CachedProjectInfo& GetCachedProjectInfo() const { return *info_; }
    /// Times are seconds since 1970-01-01 UTC; 0 for never.
    [[nodiscard]] std::int32_t GetLastOpenedTime() const { return info_->GetLastOpenProjectTime(); }
    [[nodiscard]] std::int32_t GetTravelPackageCreationTime() const
    {
        return info_->GetTravelPackageCreationTime();
    }
    [[nodiscard]] bool IsTravelPackageCreated() const { return info_->IsTravelPackageCreated(); }
    [[nodiscard]] bool ExtractedFromTravelPackage() const
    {
        return info_->ExtractedFromTravelPackage();
    }

private:
    std::shared_ptr<const CachedProjectInfo> info_;
};

}  // namespace SYC
