#pragma once

#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/Detail/JsonText.hpp"
#include "SyncraProtocol/Management/ConnectedModule.hpp"
#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/RepositoryContents.hpp"
#include "SyncraProtocol/Management/ServerConfiguration.hpp"
#include "SyncraProtocol/Management/User.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

/// What travels to and from the management service, described once for both ends.
namespace Syncra::Server::Management {

using Protocol::Between;
using Protocol::Single;

template <class Visitor>
void Describe(Visitor& v, User& user)
{
    v.ByServer("id", user.id);
    v("loginName", user.loginName);
    v("fullName", user.fullName);
    v("email", user.email);
    v("enabled", user.enabled);
    v("color", user.color, Between{0, 0xFFFFFF});
    v("properties", user.properties);
    v.ByServer("groups", user.groups);
}

/// A user on his way in. Without a password he cannot sign in yet.
struct NewUser {
    User user;
    std::optional<OV::Secret> password;
};

template <class Visitor>
void Describe(Visitor& v, NewUser& user)
{
    Describe(v, user.user);
    v("password", user.password);
}

template <class Visitor>
void Describe(Visitor& v, Role& role)
{
    v.ByServer("id", role.id);
    v("name", role.name);
    v("description", role.description);
    v("permissions", role.permissions);
    v("permissionSet", role.permissionSet);
    v.ByServer("builtIn", role.builtIn);
}

template <class Visitor>
void Describe(Visitor& v, Group& group)
{
    v.ByServer("id", group.id);
    v("name", group.name);
    v("description", group.description);
    v.ByServer("users", group.users);
    v.ByServer("builtIn", group.builtIn);
}

template <class Visitor>
void Describe(Visitor& v, Permission& permission)
{
    v.ByServer("id", permission.id);
    v("name", permission.name);
    v("description", permission.description);
    v.ByServer("builtIn", permission.builtIn);
}

template <class Visitor>
void Describe(Visitor& v, PermissionSet& set)
{
    v.ByServer("id", set.id);
    v("name", set.name);
    v("description", set.description);
    v("permissions", set.permissions);
}

template <class Visitor>
void Describe(Visitor& v, CustomPropertyDefinition& definition)
{
    v.ByServer("id", definition.id);
    v("name", definition.name);
    v("description", definition.description);
    v("type", definition.type, Between{1, 4});
    v("choices", definition.choices);
}

template <class Visitor>
void Describe(Visitor& v, ProjectCategory& category)
{
    v.ByServer("id", category.id);
    v("name", category.name);
}

template <class Visitor>
void Describe(Visitor& v, ConnectedModule& module)
{
    v.ByServer("id", module.id);
    v("name", module.name);
    v("version", module.version);
    v("address", module.address);
    v("enabled", module.enabled);
}

template <class Visitor>
void Describe(Visitor& v, ServerConfiguration& configuration)
{
    v("serverName", configuration.serverName);
    v("minimumPasswordLength", configuration.minimumPasswordLength, Between{1, 64});
}

/// Comes from another server, whose identifiers tie its records together: read with ReadAnswer.
template <class Visitor>
void Describe(Visitor& v, RepositoryContents& contents)
{
    v("permissions", contents.permissions);
    v("permissionSets", contents.permissionSets);
    v("roles", contents.roles);
    v("customProperties", contents.customProperties);
}

namespace V1 {

template <class Visitor>
void Describe(Visitor& v, ProjectMember& member)
{
    v("user", member.id);
    v("role", member.roleId);
}

template <class Visitor>
void Describe(Visitor& v, ProjectBackupSchedule& schedule)
{
    v("id", schedule.id);
    v("frequency", schedule.frequency, Between{0, 3});
    v("startTime", schedule.startTime);
    v("enabled", schedule.enabled);
}

}  // namespace V1

namespace V2 {

/// Without its password. Codes of states that are not known here pass through.
template <class Visitor>
void Describe(Visitor& v, Project& project)
{
    v.ByServer("id", project.id);
    v("name", project.name);
    v("description", project.description);
    v("category", project.status.category);
    v("state", project.status.state);
    v.ByServer("location", project.location);
    v("version", project.version);
    v("members", project.members);
    v("backupSchedules", project.backupSchedules);
    v("maximumBackups", project.maxBackupCounter);
}

}  // namespace V2

template <class Record>
using Items = Single<"items", OV::Array<Record>>;

/// A list, or a part of it when the request asked for so many and the server has parts of it.
template <class Record>
struct ItemPage {
    /// Of a part: what the next one is asked for with; empty in the last.
    std::optional<OV::UniString> cursor;
    OV::Array<Record> items;
};

template <class Visitor, class Record>
void Describe(Visitor& v, ItemPage<Record>& page)
{
    v("cursor", page.cursor);
    v("items", page.items);
}

using GroupNames = Single<"groups", OV::Array<OV::UniString>>;
using NewPassword = Single<"password", OV::Secret>;
using NewName = Single<"name", OV::UniString>;
using MergedCategories = Single<"categories", OV::Array<OV::UniString>>;
using RoleOfMember = Single<"role", OV::UniString>;

struct NewMember {
    OV::UniString loginName;
    OV::UniString role;
};

template <class Visitor>
void Describe(Visitor& v, NewMember& member)
{
    v("loginName", member.loginName);
    v("role", member.role);
}

}  // namespace Syncra::Server::Management
