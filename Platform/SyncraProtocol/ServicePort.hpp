#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// Where one service of a server listens.
struct SYC_API ServicePort {
    OV::UniString service;   ///< one of ServiceNames, or a newer server's
    std::uint16_t port = 0;  ///< on the host of the model service

    friend bool operator==(const ServicePort&, const ServicePort&) = default;
};

namespace ServiceNames {
/// Projects, sessions, members, mails, signals and logs; the others are found through it.
inline constexpr OV::UniStringView Model = u"ModelService";
/// Users, roles and projects of the server.
inline constexpr OV::UniStringView Management = u"ManagementService";
/// Who is present.
inline constexpr OV::UniStringView Messaging = u"MessagingService";
}  // namespace ServiceNames

}  // namespace Syncra::Protocol
