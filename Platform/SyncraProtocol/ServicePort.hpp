#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// Where one service of a server listens.
struct SYC_API ServicePort {
    OV::UniString service;
    std::uint16_t port = 0;

    friend bool operator==(const ServicePort&, const ServicePort&) = default;
};

namespace ServiceNames {
inline constexpr OV::UniStringView Model = u"ModelService";
inline constexpr OV::UniStringView Management = u"ManagementService";
inline constexpr OV::UniStringView Messaging = u"MessagingService";
}  // namespace ServiceNames

}  // namespace Syncra::Protocol
