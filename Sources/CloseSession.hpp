#pragma once

#include "OVRoot/Export.hpp"
namespace SYCB {
class ProjectConnectionManagerInterface;
}

namespace SYC {

/// Ends the server session of the project that the host has open, and logs the outcome. On success
/// the cache forgets the session, so that the next check may start a new one. Returns whether the
/// session was closed; never throws. Synchronous.
SYC_API bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager);

}  // namespace SYC
