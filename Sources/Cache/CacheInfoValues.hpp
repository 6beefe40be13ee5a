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
    OV::UniString userId;               ///< the server's identifier
    OV::UniString projectName;          ///< in its own letter case
    OV::UniString projectCategoryName;  ///< empty for none
    OV::UniString serverName;           ///< as the user wrote it
    /// Ports above 32767 appear as negative numbers.
    std::int16_t port = 0;
    OV::UniString sessionId;   ///< empty without a session
    std::int32_t logonId = 0;  ///< short number of the user in this project
    OV::UniString roleName;    ///< of the user in this project
    /// The host's own text of colours given to users.
    OV::UniString userColorList;
    std::int16_t colorMode = 0;  ///< the host's own number
    /// Names of the permissions granted to the user.
    OV::HashSet<OV::UniString> permissions;
    OV::UniString projectId;  ///< the server's identifier
    /// Local changes were not sent to the server yet.
    bool unsentChange = false;
    bool projectForcedOffline = false;  ///< the user chose to work offline
    /// Times are seconds since 1970-01-01 UTC.
    std::int32_t lastOpenProjectTime = 0;
    /// of the package that takes the cache to another computer
    std::int32_t travelPackageCreationTime = 0;
    bool travelPackageCreated = false;               ///< such a package was made
    bool extractedFromTravelPackage = false;         ///< this cache came in one
    bool enableTravelPackageWarningAtClose = false;  ///< the host warns when the project is closed
    /// Version text and build number of the project's data format.
    OV::UniString projectVersion;
    std::int32_t projectBuild = 0;  ///< 0 when it is not known
    bool projectDetached = false;   ///< the server's project is gone or another one

    friend bool operator==(const CacheInfoValues&, const CacheInfoValues&) = default;
};

/// What a newer client's file holds beyond these values. It is kept as it stands there, with the
/// version that says that it is there.
struct CacheInfoAdditions {
    /// 0 for a file that has none.
    std::uint16_t dataVersion = 0;
    OV::String text;  ///< as it stands in the file
};

}  // namespace SYC
