#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// State of a project as the server stores it.
enum class ProjectState : std::int32_t {
    Locked = 1,       ///< may be opened and read, takes no changes
    Maintenance = 2,  ///< the server refuses sessions with code 24
    Active = 3,
};

/// A project in the project list of a user.
struct SYC_API Project {
    OV::UniString id;                           ///< the server's identifier
    OV::UniString name;                         ///< unique on the server
    OV::UniString location;                     ///< server-side location of its data
    OV::UniString category;                     ///< name of its category; empty for none
    ProjectState state = ProjectState::Active;  ///< whether it may be opened and changed
    OV::UniString version;                      ///< version text of the project's data format
    std::int32_t build = 0;                     ///< build number of the project's data format

    friend bool operator==(const Project&, const Project&) = default;
};

/// A project with what lists show of it besides.
struct SYC_API ProjectOverview : Project {
    std::uint32_t members = 0;  ///< how many it has
    std::uint32_t atWork = 0;   ///< members whose client is connected to the project now
    bool isMember = false;      ///< whether the user himself is one; if not, the project is public
};

}  // namespace Syncra::Protocol
