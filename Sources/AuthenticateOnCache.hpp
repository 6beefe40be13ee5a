#pragma once

#include "OVRoot/Export.hpp"
namespace SYCB {
class ProjectConnectionManagerInterface;
}

namespace SYC {

/// Whether the user may open the project of `manager` from its cache: the password of the project's
/// location must be the one that this machine remembers for the user on that server. When it is
/// not, the user is asked until he types it (true) or gives up (false), or refused at once when
/// `silent`. A machine that remembers nobody lets everybody in. No server is asked, and nothing is
/// written.
///
/// Throws what reading the user's info file throws (SyncraInfo.hpp); unless `silent`, also
/// UserPasswordStore::UserIsNotInListException for a user whom the machine does not know on that
/// server, and what a location that is no project URL throws. For the main thread.
SYC_API bool AuthenticateOnCache(SYCB::ProjectConnectionManagerInterface* manager, bool silent);

}  // namespace SYC
