#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

namespace SYC {

/// What a "CacheInfo.xml" holds, in the order of the file. The password is not among it.
struct CacheInfoValues {
    /// The name typed at log-in.
    OV::UniString loginName;
    /// The user's display name.
    OV::UniString userName;
    OV::UniString userId;
    OV::UniString projectName;
    OV::UniString projectCategoryName;
    OV::UniString serverName;
    /// Ports above 32767 appear as negative numbers.
    std::int16_t port = 0;
    OV::UniString sessionId;
    std::int32_t logonId = 0;
    OV::UniString roleName;
    /// The host's own text of colours given to users.
    OV::UniString userColorList;
    std::int16_t colorMode = 0;
    /// Names of the permissions granted to the user.
    OV::HashSet<OV::UniString> permissions;
    OV::UniString projectId;
    /// Local changes were not sent to the server yet.
    bool unsentChange = false;
    bool projectForcedOffline = false;
    /// Times are seconds since 1970-01-01 UTC.
    std::int32_t lastOpenProjectTime = 0;
    std::int32_t travelPackageCreationTime = 0;
    bool travelPackageCreated = false;
    bool extractedFromTravelPackage = false;
    bool enableTravelPackageWarningAtClose = false;
    /// Version text and build number of the project's data format.
    OV::UniString projectVersion;
    std::int32_t projectBuild = 0;
    bool projectDetached = false;

    friend bool operator==(const CacheInfoValues&, const CacheInfoValues&) = default;
};

/// What a newer client's file holds beyond these values. It is kept as it stands there, with the
/// version that says that it is there.
struct CacheInfoAdditions {
    /// 0 for a file that has none.
    std::uint16_t dataVersion = 0;
    OV::String text;
};

}  // namespace SYC
