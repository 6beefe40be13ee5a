#pragma once

#include "OVRoot/UniString.hpp"

namespace SYCB::Detail {

/// One text for a server in tables: host names count in any letter case.
[[nodiscard]] inline OV::UniString ServerKey(OV::UniStringView serverName, std::uint16_t port)
{
    OV::UniString key(serverName);
    for (char16_t& unit : key)
        if (unit >= u'A' && unit <= u'Z')
            unit += u'a' - u'A';
    return key + u"\n" + OV::ToText(port);
}

}  // namespace SYCB::Detail
