#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// Users who may do the same on a server, whatever their projects.
struct SYC_API Group {
    /// The server's identifier; empty for a group that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;         ///< unique on the server
    OV::UniString description;  ///< for people; may be empty
    /// Identifiers of its users. The server's: changed by adding and removing one user.
    OV::HashSet<OV::UniString> users;
    /// The server's: such a group can be neither renamed nor deleted.
    bool builtIn = false;

    friend bool operator==(const Group&, const Group&) = default;
};

/// Identifiers of the built-in groups, the same on every server. Never destroyed.
namespace BuiltInGroups {
/// who may do everything
inline const OV::UniString& Administrators = *new OV::UniString(u"Administrators");
/// who may share projects and change their own
inline const OV::UniString& ProjectManagers = *new OV::UniString(u"ProjectManagers");
/// who may do nothing more yet
inline const OV::UniString& ProjectWorkflowManagers =
    *new OV::UniString(u"ProjectWorkflowManagers");
}  // namespace BuiltInGroups

}  // namespace Syncra::Server::Management
