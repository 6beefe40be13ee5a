#include "MemberStore.hpp"

#include "Refusal.hpp"

#include <algorithm>

namespace Nexar {

using Syncra::Protocol::Member;
using Syncra::Protocol::MemberAtWork;
using Syncra::Protocol::MemberChangesBody;

namespace {

constexpr std::int64_t LastLogonId = 32767;

constexpr const char* MayAnywhere =
    "SELECT 1 FROM members m JOIN roles r ON r.name = m.role JOIN permissions p ON p.name = $1 "
    "WHERE m.user_id = $2 AND " NEXAR_ROLE_HAS_PERMISSION;
constexpr const char* MayInProject =
    "SELECT 1 FROM members m JOIN roles r ON r.name = m.role JOIN permissions p ON p.name = $1 "
    "WHERE m.user_id = $2 AND m.project_id = $3 AND " NEXAR_ROLE_HAS_PERMISSION;

#define NEXAR_COLUMNS_OF_MEMBER "m.logon_id, u.login, u.full_name, u.id, u.color, m.role"
#define NEXAR_MEMBERS_AT_WORK                                                                      \
    "SELECT " NEXAR_COLUMNS_OF_MEMBER ", u.photo, "                                                \
    "CASE WHEN s.id IS NULL THEN '' ELSE coalesce(nullif(a.value, ''), 'Normal') END, "            \
    "coalesce(s.start_time, 0), coalesce(c.value, '') "                                            \
    "FROM members m CROSS JOIN users u LEFT JOIN sessions s "                                      \
    "ON s.project_id = m.project_id AND s.user_id = m.user_id LEFT JOIN session_attributes a "     \
    "ON a.session_id = s.id AND a.name = 'SessionType' LEFT JOIN session_attributes c "            \
    "ON c.session_id = s.id AND c.name = 'ComputerName' "                                          \
    "WHERE u.id = m.user_id AND m.project_id = $1"

template <class Member>
Member ReadMember(const Statement& row)
{
    Member member;
    member.id = static_cast<std::int16_t>(row.Number(0));
    member.loginName = OV::FromUtf8(row.Text(1));
    member.fullName = OV::FromUtf8(row.Text(2));
    member.guid = OV::Guid::Parse(OV::FromUtf8(row.Text(3)));
    member.color = static_cast<std::uint32_t>(row.Number(4)) & 0xFFFFFF;
    member.roleName = OV::FromUtf8(row.Text(5));
    return member;
}

}  // namespace

std::vector<Member> MemberStore::List(const std::string& projectId)
{
    auto query = database_.Prepare("SELECT " NEXAR_COLUMNS_OF_MEMBER
                                   " FROM members m JOIN users u ON u.id = m.user_id "
                                   "WHERE m.project_id = $1 ORDER BY m.logon_id");
    query.Bind(1, projectId);
    RolePermissions permissions(database_);
    std::vector<Member> members;
    while (query.Step()) {
        members.push_back(ReadMember<Member>(query));
        members.back().permissions = permissions.Of(query.Text(5));
    }
    return members;
}

MemberChangesBody MemberStore::Changes(const std::string& projectId,
                                       const std::optional<std::set<std::string>>& users)
{
    MemberChangesBody body;
    RolePermissions permissions(database_);
    std::set<std::string> roles;
    const auto take = [&](const Statement& row) {
        auto& member = body.changes.members.emplace_back(ReadMember<MemberAtWork>(row));
        member.photo = OV::FromUtf8(row.Text(6));
        member.session = OV::FromUtf8(row.Text(7));
        member.workingSince = static_cast<std::int32_t>(row.Number(8));
        member.computer = OV::FromUtf8(row.Text(9));
        if (roles.insert(row.Text(5)).second)
            body.roles.push_back({member.roleName, permissions.Of(row.Text(5))});
    };
    body.changes.isWhole = !users;
    if (!users) {
        auto query = database_.Prepare(NEXAR_MEMBERS_AT_WORK " ORDER BY m.logon_id");
        query.Bind(1, projectId);
        while (query.Step())
            take(query);
        return body;
    }
    for (const auto& user : *users) {
        auto query = database_.Prepare(NEXAR_MEMBERS_AT_WORK " AND m.user_id = $2");
        if (query.Bind(1, projectId).Bind(2, user).Step())
            take(query);
        else
            body.changes.gone.push_back(OV::Guid::Parse(OV::FromUtf8(user)));
    }
    return body;
}

bool MemberStore::Add(const std::string& projectId, const std::string& userId,
                      const std::string& role)
{
    {
        auto last = database_.Prepare("SELECT last_logon_id FROM projects WHERE id = $1");
        if (last.Bind(1, projectId).Step() && last.Number(0) >= LastLogonId)
            throw Refusal(Syncra::Protocol::ErrorCode::TooLarge,
                          "This project has had 32767 members; it takes no more.");
    }
    // A trigger of the table counts the numbers.
    return database_
               .Prepare("INSERT INTO members (project_id, user_id, role, logon_id) VALUES ($1, $2, "
                        "$3, (SELECT last_logon_id + 1 FROM projects WHERE id = $1)) "
                        "ON CONFLICT (project_id, user_id) DO NOTHING")
               .Bind(1, projectId)
               .Bind(2, userId)
               .Bind(3, role)
               .Run() == 1;
}

bool MemberStore::SetRole(const std::string& projectId, const std::string& userId,
                          const std::string& role)
{
    return database_.Prepare("UPDATE members SET role = $3 WHERE project_id = $1 AND user_id = $2")
               .Bind(1, projectId)
               .Bind(2, userId)
               .Bind(3, role)
               .Run() == 1;
}

bool MemberStore::Remove(const std::string& projectId, const std::string& userId)
{
    return database_.Prepare("DELETE FROM members WHERE project_id = $1 AND user_id = $2")
               .Bind(1, projectId)
               .Bind(2, userId)
               .Run() == 1;
}

bool MemberStore::HasPermission(const std::string& projectId, const std::string& userId,
                                const std::string& permission)
{
    return database_.Prepare(MayInProject)
        .Bind(1, permission)
        .Bind(2, userId)
        .Bind(3, projectId)
        .Step();
}

bool MemberStore::HasPermissionsOf(const std::string& projectId, const std::string& userId,
                                   const std::string& role)
{
    RolePermissions permissions(database_);
    const auto& own = permissions.Of(RoleOf(projectId, userId));
    const auto& others = permissions.Of(role);
    return std::all_of(others.begin(), others.end(),
                       [&](const auto& permission) { return own.contains(permission); });
}

std::string MemberStore::RoleOf(const std::string& projectId, const std::string& userId)
{
    auto query =
        database_.Prepare("SELECT role FROM members WHERE project_id = $1 AND user_id = $2");
    return query.Bind(1, projectId).Bind(2, userId).Step() ? query.Text(0) : std::string();
}

bool MemberStore::HasPermissionAnywhere(const std::string& userId, const std::string& permission)
{
    return database_.Prepare(MayAnywhere).Bind(1, permission).Bind(2, userId).Step();
}

const OV::HashSet<OV::UniString>& RolePermissions::Of(const std::string& role)
{
    const auto [found, isNew] = sets_.try_emplace(role);
    if (isNew) {
        auto query =
            database_.Prepare("SELECT p.name FROM roles r CROSS JOIN permissions p "
                              "WHERE r.name = $1 AND " NEXAR_ROLE_HAS_PERMISSION " /* all */");
        query.Bind(1, role);
        while (query.Step())
            found->second.insert(OV::FromUtf8(query.Text(0)));
    }
    return found->second;
}

}  // namespace Nexar
