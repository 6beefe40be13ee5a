#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// An account on a server. Its password is never read back: it is written by requests of its own.
struct SYC_API User {
    /// The server's identifier; empty for a user that the server has not seen yet.
    OV::UniString id;
    /// What he signs in with; unique in any ASCII letter case, without commas.
    OV::UniString loginName;
    /// For people; 1 to 128 characters.
    OV::UniString fullName;
    /// Empty for none.
    OV::UniString email;
    bool enabled = true;      ///< whether he may sign in
    std::uint32_t color = 0;  ///< 0xRRGGBB
    /// Texts of his custom properties, by the identifier of the definition; those without a value
    /// are absent.
    OV::HashTable<OV::UniString, OV::UniString> properties;
    /// Identifiers of the groups that he is in. The server's: changed through the groups alone.
    OV::HashSet<OV::UniString> groups;

    friend bool operator==(const User&, const User&) = default;
};

}  // namespace Syncra::Server::Management
