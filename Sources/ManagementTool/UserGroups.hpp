#pragma once

#include "ManagementTool/UserGroupType.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Whether the user belongs to the group on the server; everybody belongs to AnyUser, without a
/// request. `port` is the model service's. Blocks for requests on the calling thread, which take a
/// server of another version `withoutVersionCheck`. Throws what Management::CreateUserRepository
/// and UserRepository::GetUserGroups do, and SYCB::IncopatibleServerVersionException.
[[nodiscard]] SYC_API bool IsUserInGroup(const OV::UniString& hostName, short port,
                                         const OV::UniString& userName, const OV::Secret& password,
                                         UserGroupType::Value group,
                                         bool withoutVersionCheck = false);

}  // namespace Syncra::Server::ManagementTool::Core
