#pragma once

#include "OVRoot/Ascii.hpp"

namespace SYCB::Detail {

/// One text for a server in tables: host names count in any letter case.
[[nodiscard]] inline OV::UniString ServerKey(OV::UniStringView serverName, std::uint16_t port)
{
    return OV::Folded(serverName) + u"\n" + OV::ToText(port);
}

}  // namespace SYCB::Detail
