#pragma once

#include "OVRoot/Export.hpp"
namespace SYCB {
class ProjectConnectionManagerInterface;
}

namespace SYC {

struct Failure;

/// Ends the server session of the project that the host has open, and logs the outcome. On success
/// the cache forgets the session, so that the next check may start a new one; so it does when the
/// server says that the session ended elsewhere. Returns whether no session is open any more; never
/// throws. Without a session nobody is asked, and the answer is false.
///
/// Blocks for two requests, each at most as long as HttpOptions allow (10 s to connect, 30 s of
/// silence), and ends within 100 ms when the calling OV::Thread is interrupted. When the answer to
/// the second is lost, or it is interrupted, the server is asked what became of it: two requests of
/// two seconds more.
SYC_API bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager);
/// The same; `failure` says why it was not closed, and is none when it was.
SYC_API bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager, Failure& failure);

}  // namespace SYC
