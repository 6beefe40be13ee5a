#include "MemberStore.hpp"

#include "Refusal.hpp"

namespace Nexar {

using Syncra::Protocol::Member;

namespace {

constexpr std::int64_t LastLogonId = 32767;

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
    auto query = database_.Prepare("SELECT m.logon_id, u.login, u.full_name, u.id, u.color, m.role "
                                   "FROM members m JOIN users u ON u.id = m.user_id "
                                   "WHERE m.project_id = ?1 ORDER BY m.logon_id");
    query.Bind(1, projectId);
    std::vector<Member> members;
    while (query.Step()) {
        members.push_back(ReadMember(query));
        members.back().permissions = PermissionsOf(database_, query.Text(5));
    }
    return members;
}

bool MemberStore::Add(const std::string& projectId, const std::string& userId,
                      const std::string& role)
{
    {
        auto last = database_.Prepare("SELECT last_logon_id FROM projects WHERE id = ?1");
        if (last.Bind(1, projectId).Step() && last.Number(0) >= LastLogonId)
            throw Refusal(Syncra::Protocol::ErrorCode::TooLarge,
                          "This project has had 32767 members; it takes no more.");
    }
    // A trigger of the table counts the numbers.
    return database_
               .Prepare("INSERT INTO members (project_id, user_id, role, logon_id) VALUES (?1, ?2, "
                        "?3, (SELECT last_logon_id + 1 FROM projects WHERE id = ?1)) "
                        "ON CONFLICT (project_id, user_id) DO NOTHING")
               .Bind(1, projectId)
               .Bind(2, userId)
               .Bind(3, role)
               .Run() == 1;
}

bool MemberStore::SetRole(const std::string& projectId, const std::string& userId,
                          const std::string& role)
{
    return database_.Prepare("UPDATE members SET role = ?3 WHERE project_id = ?1 AND user_id = ?2")
               .Bind(1, projectId)
               .Bind(2, userId)
               .Bind(3, role)
               .Run() == 1;
}

bool MemberStore::Remove(const std::string& projectId, const std::string& userId)
{
    return database_.Prepare("DELETE FROM members WHERE project_id = ?1 AND user_id = ?2")
               .Bind(1, projectId)
               .Bind(2, userId)
               .Run() == 1;
}

bool MemberStore::HasPermission(const std::string& projectId, const std::string& userId,
                                const std::string& permission)
{
    return database_
        .Prepare("SELECT 1 FROM members m JOIN role_permissions p ON p.role = m.role "
                 "WHERE m.project_id = ?1 AND m.user_id = ?2 AND p.permission = ?3")
        .Bind(1, projectId)
        .Bind(2, userId)
        .Bind(3, permission)
        .Step();
}

bool MemberStore::HasPermissionsOf(const std::string& projectId, const std::string& userId,
                                   const std::string& role)
{
    return !database_
                .Prepare("SELECT permission FROM role_permissions WHERE role = ?3 EXCEPT "
                         "SELECT permission FROM role_permissions WHERE role = "
                         "(SELECT role FROM members WHERE project_id = ?1 AND user_id = ?2)")
                .Bind(1, projectId)
                .Bind(2, userId)
                .Bind(3, role)
                .Step();
}

std::string MemberStore::RoleOf(const std::string& projectId, const std::string& userId)
{
    auto query =
        database_.Prepare("SELECT role FROM members WHERE project_id = ?1 AND user_id = ?2");
    return query.Bind(1, projectId).Bind(2, userId).Step() ? query.Text(0) : std::string();
}

bool MemberStore::HasPermissionAnywhere(const std::string& userId, const std::string& permission)
{
    return database_
        .Prepare("SELECT 1 FROM members m JOIN role_permissions p ON p.role = m.role "
                 "WHERE m.user_id = ?1 AND p.permission = ?2")
        .Bind(1, userId)
        .Bind(2, permission)
        .Step();
}

OV::HashSet<OV::UniString> PermissionsOf(Database& database, const std::string& role)
{
    auto query = database.Prepare("SELECT permission FROM role_permissions WHERE role = ?1");
    query.Bind(1, role);
    OV::HashSet<OV::UniString> permissions;
    while (query.Step())
        permissions.insert(OV::FromUtf8(query.Text(0)));
    return permissions;
}

}  // namespace Nexar
