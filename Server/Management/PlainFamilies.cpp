#include "Management/Family.hpp"
#include "Management/JsonColumn.hpp"
#include "Management/Rules.hpp"
#include "MemberStore.hpp"
#include "Refusal.hpp"

namespace Nexar {

using namespace Records;
using OV::FromUtf8;
using OV::ToUtf8;

namespace {

/// Replaces the grants of a role or of a set.
void WriteGrants(Database& database, const char* clear, const char* fill, const std::string& owner,
                 const OV::HashSet<OV::UniString>& permissions)
{
    database.Prepare(clear).Bind(1, owner).Run();
    database.Prepare(fill).Bind(1, owner).Bind(2, Syncra::Protocol::WriteJson(permissions)).Run();
}

constexpr const char* PermissionExists = "SELECT 1 FROM permissions WHERE id = $1";

}  // namespace

// Permissions

const char* const Family<Permission>::select =
    "SELECT id, name, description, built_in FROM permissions";
const char* const Family<Permission>::nameColumn = "name";
const char* const Family<Permission>::order = "lower(name)";
const char* const Family<Permission>::taken =
    "SELECT 1 FROM permissions WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<Permission>::remove = "DELETE FROM permissions WHERE id = $1 /* all */";
const char* const Family<Permission>::inUse =
    "SELECT 1 FROM role_grants WHERE permission_id = $1 "
    "UNION ALL SELECT 1 FROM permission_set_grants WHERE permission_id = $1 /* all */";
const char* const Family<Permission>::projects =
    "SELECT DISTINCT m.project_id FROM permissions p CROSS JOIN roles r CROSS JOIN members m "
    "WHERE m.role = r.name AND p.id = $1 AND " NEXAR_ROLE_HAS_PERMISSION " /* all */";

Permission Family<Permission>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1)), FromUtf8(row.Text(2)),
            row.Number(3) != 0};
}

void Family<Permission>::Check(Database&, const Permission& permission)
{
    Rules::CheckName(permission.name, "name of the permission");
    Rules::CheckText(permission.description, "description");
}

void Family<Permission>::Write(Database& database, const Permission& permission)
{
    database
        .Prepare("INSERT INTO permissions (id, name, description) VALUES ($1, $2, $3) "
                 "ON CONFLICT (id) DO UPDATE SET name = excluded.name, "
                 "description = excluded.description")
        .Bind(1, ToUtf8(permission.id))
        .Bind(2, ToUtf8(permission.name))
        .Bind(3, ToUtf8(permission.description))
        .Run();
}

// Permission sets

const char* const Family<PermissionSet>::select =
    "SELECT id, name, description, (SELECT json_group_array(permission_id) "
    "FROM permission_set_grants WHERE set_id = s.id) FROM permission_sets s";
const char* const Family<PermissionSet>::nameColumn = "name";
const char* const Family<PermissionSet>::order = "lower(name)";
const char* const Family<PermissionSet>::taken =
    "SELECT 1 FROM permission_sets WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<PermissionSet>::remove =
    "DELETE FROM permission_sets WHERE id = $1 /* all */";
const char* const Family<PermissionSet>::inUse =
    "SELECT 1 FROM roles WHERE permission_set = $1 /* all */";
const char* const Family<PermissionSet>::projects =
    "SELECT DISTINCT m.project_id FROM roles r CROSS JOIN members m "
    "WHERE m.role = r.name AND r.permission_set = $1 /* all */";

PermissionSet Family<PermissionSet>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1)), FromUtf8(row.Text(2)),
            ReadColumn<IdSet>(row.View(3))};
}

void Family<PermissionSet>::Check(Database& database, const PermissionSet& set)
{
    Rules::CheckName(set.name, "name of the permission set");
    Rules::CheckText(set.description, "description");
    Rules::CheckReferences(database, PermissionExists, set.permissions, "permission");
}

void Family<PermissionSet>::Write(Database& database, const PermissionSet& set)
{
    const auto id = ToUtf8(set.id);
    database
        .Prepare("INSERT INTO permission_sets (id, name, description) VALUES ($1, $2, $3) "
                 "ON CONFLICT (id) DO UPDATE SET name = excluded.name, "
                 "description = excluded.description")
        .Bind(1, id)
        .Bind(2, ToUtf8(set.name))
        .Bind(3, ToUtf8(set.description))
        .Run();
    WriteGrants(database, "DELETE FROM permission_set_grants WHERE set_id = $1",
                "INSERT INTO permission_set_grants (set_id, permission_id) "
                "SELECT $1, value FROM json_each($2)",
                id, set.permissions);
}

// Roles

const char* const Family<Role>::select =
    "SELECT id, name, description, (SELECT json_group_array(permission_id) FROM role_grants "
    "WHERE role_id = r.id), permission_set, built_in FROM roles r";
const char* const Family<Role>::nameColumn = "name";
const char* const Family<Role>::order = "name";
const char* const Family<Role>::taken =
    "SELECT 1 FROM roles WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<Role>::remove = "DELETE FROM roles WHERE id = $1";
const char* const Family<Role>::inUse =
    "SELECT 1 FROM members m JOIN roles r ON r.name = m.role WHERE r.id = $1";
const char* const Family<Role>::projects =
    "SELECT DISTINCT m.project_id FROM members m JOIN roles r ON r.name = m.role WHERE r.id = $1";

Role Family<Role>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)),          FromUtf8(row.Text(1)), FromUtf8(row.Text(2)),
            ReadColumn<IdSet>(row.View(3)), FromUtf8(row.Text(4)), row.Number(5) != 0};
}

void Family<Role>::Check(Database& database, const Role& role)
{
    Rules::CheckName(role.name, "name of the role");
    Rules::CheckText(role.description, "description");
    Rules::CheckReferences(database, PermissionExists, role.permissions, "permission");
    if (!role.permissionSet.empty())
        Rules::CheckReferences(database, "SELECT 1 FROM permission_sets WHERE id = $1",
                               OV::Array<OV::UniString>{role.permissionSet}, "permission set");
}

void Family<Role>::Write(Database& database, const Role& role)
{
    const auto id = ToUtf8(role.id);
    database
        .Prepare("INSERT INTO roles (id, name, description, permission_set) "
                 "VALUES ($1, $2, $3, nullif($4, '')) "
                 "ON CONFLICT (id) DO UPDATE SET name = excluded.name, "
                 "description = excluded.description, permission_set = excluded.permission_set")
        .Bind(1, id)
        .Bind(2, ToUtf8(role.name))
        .Bind(3, ToUtf8(role.description))
        .Bind(4, ToUtf8(role.permissionSet))
        .Run();
    WriteGrants(database, "DELETE FROM role_grants WHERE role_id = $1",
                "INSERT INTO role_grants (role_id, permission_id) "
                "SELECT $1, value FROM json_each($2)",
                id, role.permissions);
}

// Groups

const char* const Family<Group>::select =
    "SELECT id, name, description, (SELECT json_group_array(user_id) FROM user_group_members "
    "WHERE group_name = g.name), built_in FROM user_groups g";
const char* const Family<Group>::nameColumn = "name";
const char* const Family<Group>::order = "name";
const char* const Family<Group>::taken =
    "SELECT 1 FROM user_groups WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<Group>::remove = "DELETE FROM user_groups WHERE id = $1";
const char* const Family<Group>::inUse = nullptr;
const char* const Family<Group>::projects = nullptr;

Group Family<Group>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1)), FromUtf8(row.Text(2)),
            ReadColumn<IdSet>(row.View(3)), row.Number(4) != 0};
}

void Family<Group>::Check(Database&, const Group& group)
{
    Rules::CheckName(group.name, "name of the group");
    Rules::CheckText(group.description, "description");
}

void Family<Group>::Write(Database& database, const Group& group)
{
    database
        .Prepare("INSERT INTO user_groups (id, name, description) VALUES ($1, $2, $3) "
                 "ON CONFLICT (id) DO UPDATE SET name = excluded.name, "
                 "description = excluded.description")
        .Bind(1, ToUtf8(group.id))
        .Bind(2, ToUtf8(group.name))
        .Bind(3, ToUtf8(group.description))
        .Run();
}

// Categories

const char* const Family<ProjectCategory>::select = "SELECT id, name FROM project_categories";
const char* const Family<ProjectCategory>::nameColumn = "name";
const char* const Family<ProjectCategory>::order = "lower(name)";
const char* const Family<ProjectCategory>::taken =
    "SELECT 1 FROM project_categories WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<ProjectCategory>::remove = "DELETE FROM project_categories WHERE id = $1";
const char* const Family<ProjectCategory>::inUse =
    "SELECT 1 FROM projects "
    "WHERE category = (SELECT name FROM project_categories WHERE id = $1)";
const char* const Family<ProjectCategory>::projects = nullptr;

ProjectCategory Family<ProjectCategory>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1))};
}

void Family<ProjectCategory>::Check(Database&, const ProjectCategory& category)
{
    Rules::CheckName(category.name, "name of the category");
}

void Family<ProjectCategory>::Write(Database& database, const ProjectCategory& category)
{
    // A trigger takes the projects of the category along.
    database
        .Prepare("INSERT INTO project_categories (id, name) VALUES ($1, $2) "
                 "ON CONFLICT (id) DO UPDATE SET name = excluded.name")
        .Bind(1, ToUtf8(category.id))
        .Bind(2, ToUtf8(category.name))
        .Run();
}

// Modules

const char* const Family<ConnectedModule>::select =
    "SELECT id, name, version, address, enabled FROM modules";
const char* const Family<ConnectedModule>::nameColumn = "name";
const char* const Family<ConnectedModule>::order = "lower(name)";
const char* const Family<ConnectedModule>::taken =
    "SELECT 1 FROM modules WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<ConnectedModule>::remove = "DELETE FROM modules WHERE id = $1";
const char* const Family<ConnectedModule>::inUse = nullptr;
const char* const Family<ConnectedModule>::projects = nullptr;

ConnectedModule Family<ConnectedModule>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1)), FromUtf8(row.Text(2)),
            FromUtf8(row.Text(3)), row.Number(4) != 0};
}

void Family<ConnectedModule>::Check(Database&, const ConnectedModule& module)
{
    Rules::CheckName(module.name, "name of the module");
    Rules::CheckText(module.version, "version");
    Rules::CheckAddress(module.address);
}

void Family<ConnectedModule>::Write(Database& database, const ConnectedModule& module)
{
    database
        .Prepare("INSERT INTO modules (id, name, version, address, enabled) "
                 "VALUES ($1, $2, $3, $4, $5) ON CONFLICT (id) DO UPDATE SET "
                 "name = excluded.name, version = excluded.version, address = excluded.address, "
                 "enabled = excluded.enabled")
        .Bind(1, ToUtf8(module.id))
        .Bind(2, ToUtf8(module.name))
        .Bind(3, ToUtf8(module.version))
        .Bind(4, ToUtf8(module.address))
        .Bind(5, std::int64_t{module.enabled})
        .Run();
}

}  // namespace Nexar
