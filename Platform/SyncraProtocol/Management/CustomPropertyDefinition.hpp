#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// A field that the users of a server have beside the usual ones.
struct SYC_API CustomPropertyDefinition {
    /// What a user's value must look like.
    enum class Type : std::int32_t {
        Text = 1,
        Number = 2,  ///< a whole number in decimal digits, with "-" before a negative one
        YesNo = 3,   ///< "yes" or "no"
        Choice = 4,  ///< one of `choices`
    };

    /// The server's identifier; empty for a definition that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;         ///< unique on the server
    OV::UniString description;  ///< for people; may be empty
    Type type = Type::Text;     ///< what the values must look like
    /// In the order of display; empty but for Type::Choice.
    OV::Array<OV::UniString> choices;

    friend bool operator==(const CustomPropertyDefinition&,
                           const CustomPropertyDefinition&) = default;
};

}  // namespace Syncra::Server::Management
