#include "Management/GroupManagement.hpp"

namespace Nexar {

void GroupManagement::AddRoutes(Router& router)
{
    RecordRoutes::AddRoutes(router);
    router.Add("PUT", Path("/{}/users/{}"), [this](const Call& call) { AddUser(call); });
    router.Add("DELETE", Path("/{}/users/{}"), [this](const Call& call) { RemoveUser(call); });
}

void GroupManagement::AddUser(const Call& call)
{
    const auto group = ManagedGroup(call);
    groups_.Add(users_.RequireId(call.parameters[1]), group);
}

void GroupManagement::RemoveUser(const Call& call)
{
    const auto group = ManagedGroup(call);
    const auto user = users_.RequireId(call.parameters[1]);
    // He who asks is one, and stays one: there always is an administrator.
    if (group == UserGroups::Administrators && user == call.user.userId)
        Rules::Break("Nobody takes himself out of the administrators. Ask another one.");
    if (!groups_.Remove(user, group))
        throw Refusal(Syncra::Protocol::ErrorCode::NotFound, "The user is not in this group.");
}

std::string GroupManagement::ManagedGroup(const Call& call)
{
    RequireWriter(call);
    return OV::ToUtf8(Store().Require(call.parameters[0]).name);
}

}  // namespace Nexar
