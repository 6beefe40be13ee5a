#include "ManagementTool/UserGroups.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/SecureWipe.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::Core {

namespace {

const OV::UniString& NameOf(UserGroupType::Value group)
{
    switch (group) {
    case UserGroupType::ProjectManagers:
        return Management::BuiltInGroups::ProjectManagers;
    case UserGroupType::Administrators:
        return Management::BuiltInGroups::Administrators;
    case UserGroupType::ProjectWorkflowManagers:
        return Management::BuiltInGroups::ProjectWorkflowManagers;
    default:
        throw OV::IllegalArgumentException("There is no such group of users.");
    }
}

bool IsMemberInUserRepository(const OV::UniString& hostName, short port,
                              const OV::UniString& userName, const OV::Secret& password,
                              UserGroupType::Value group, bool withoutVersionCheck)
{
    const std::uint16_t managementPort = SYCB::ServicePortCache::GetInstance().GetServicePort(
        hostName, static_cast<std::uint16_t>(port), userName, password,
        SYCB::ServiceType::Management, true, withoutVersionCheck);
    auto properties = Management::MakeProperties(hostName, managementPort, userName, password);
    const OV::SecureWipeGuard<char16_t> wipe(
        properties[Management::PropertyNames::UserRepositoryCredentials]);
    if (withoutVersionCheck)
        properties[Management::PropertyNames::WithoutVersionCheck];
    const auto groups = SYCB::WithServerVersionException([&] {
        return Management::CreateUserRepository(u"WBEM", properties)->GetUserGroups(userName);
    });
    return std::find(groups.begin(), groups.end(), NameOf(group)) != groups.end();
}

}  // namespace

bool IsUserInGroup(const OV::UniString& hostName, short port, const OV::UniString& userName,
                   const OV::Secret& password, UserGroupType::Value group, bool withoutVersionCheck)
{
    return group == UserGroupType::AnyUser ||
           IsMemberInUserRepository(hostName, port, userName, password, group, withoutVersionCheck);
}

}  // namespace Syncra::Server::ManagementTool::Core
