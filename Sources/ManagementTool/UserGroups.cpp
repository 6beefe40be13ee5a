#include "ManagementTool/UserGroups.hpp"

#include "OVRoot/Logger.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

/// The one place that asks the server's user repository for membership. There is no such repository
/// yet, so nobody is known to belong to a group, and who needs one is refused.
bool IsMemberInUserRepository(const OV::UniString& hostName, short port,
                              const OV::UniString& userName, const OV::UniString&,
                              UserGroupType::Value group)
{
    OV::Logger::Warning(
        "SYClient",
        u"IsUserInGroup: group % of user % on %:% is not known: this version "
        u"cannot ask the user repository.",
        {static_cast<std::int32_t>(group), userName, hostName, static_cast<std::uint16_t>(port)});
    return false;
}

}  // namespace

bool IsUserInGroup(const OV::UniString& hostName, short port, const OV::UniString& userName,
                   const OV::UniString& password, UserGroupType::Value group)
{
    return group == UserGroupType::AnyUser ||
           IsMemberInUserRepository(hostName, port, userName, password, group);
}

}  // namespace Syncra::Server::ManagementTool::Core
