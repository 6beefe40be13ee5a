#include "Management/Family.hpp"
#include "Management/JsonColumn.hpp"
#include "Management/RecordStore.hpp"
#include "Management/Rules.hpp"
#include "MemberStore.hpp"

#include "OVRoot/Guid.hpp"

namespace Nexar {

using OV::FromUtf8;
using OV::ToUtf8;
using Records::V1::ProjectBackupSchedule;
using Records::V1::ProjectMember;
using Records::V2::Project;

const char* const Family<Project>::select =
    "SELECT id, name, description, category, state, location, version, maximum_backups, "
    "(SELECT json_group_array(m.user_id || ' ' || r.id) FROM members m "
    "JOIN roles r ON r.name = m.role WHERE m.project_id = p.id), "
    "(SELECT json_group_array(frequency || ' ' || start_time || ' ' || enabled || ' ' || b.id) "
    "FROM backup_schedules b WHERE b.project_id = p.id) FROM projects p";
const char* const Family<Project>::nameColumn = "name";
const char* const Family<Project>::order = "number";
const char* const Family<Project>::taken =
    "SELECT 1 FROM projects WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<Project>::remove = "DELETE FROM projects WHERE id = $1";
const char* const Family<Project>::inUse = nullptr;
// What changes in a project is told one by one.
const char* const Family<Project>::projects = nullptr;

namespace {

void WriteMembers(Database& database, const std::string& projectId,
                  const OV::HashSet<ProjectMember>& wanted)
{
    MemberStore members(database);
    OV::Array<OV::UniString> users;
    for (const auto& member : wanted) {
        users.push_back(member.id);
        const auto user = ToUtf8(member.id);
        const auto role =
            ToUtf8(RecordStore<Records::Role>(database).Require(ToUtf8(member.roleId)).name);
        if (!members.SetRole(projectId, user, role))
            members.Add(projectId, user, role);
    }
    database
        .Prepare("DELETE FROM members WHERE project_id = $1 "
                 "AND user_id NOT IN (SELECT value FROM json_each($2))")
        .Bind(1, projectId)
        .Bind(2, Syncra::Protocol::WriteJson(users))
        .Run();
}

ProjectBackupSchedule ReadSchedule(OV::UniStringView text)
{
    const auto takeNumber = [&text] {
        return static_cast<std::int32_t>(std::stol(ToUtf8(TakeWord(text))));
    };
    ProjectBackupSchedule schedule;
    schedule.frequency = static_cast<ProjectBackupSchedule::Frequency>(takeNumber());
    schedule.startTime = takeNumber();
    schedule.enabled = takeNumber() != 0;
    schedule.id = text;
    return schedule;
}

/// A schedule keeps the id that it had here; a new one gets one of the server's.
void WriteSchedules(Database& database, const std::string& projectId,
                    const OV::HashSet<ProjectBackupSchedule>& schedules)
{
    OV::HashSet<OV::UniString> known;
    auto ids = database.Prepare("DELETE FROM backup_schedules WHERE project_id = $1 RETURNING id");
    ids.Bind(1, projectId);
    while (ids.Step())
        known.insert(FromUtf8(ids.Text(0)));
    for (const auto& schedule : schedules) {
        const auto id = known.erase(schedule.id) == 1 ? schedule.id : OV::Guid::Generate().ToText();
        database
            .Prepare("INSERT INTO backup_schedules (id, project_id, frequency, start_time, "
                     "enabled) VALUES ($1, $2, $3, $4, $5)")
            .Bind(1, ToUtf8(id))
            .Bind(2, projectId)
            .Bind(3, static_cast<std::int64_t>(schedule.frequency))
            .Bind(4, std::int64_t{schedule.startTime})
            .Bind(5, std::int64_t{schedule.enabled})
            .Run();
    }
}

}  // namespace

Project Family<Project>::Read(const Statement& row)
{
    Project project;
    project.id = FromUtf8(row.Text(0));
    project.name = FromUtf8(row.Text(1));
    project.description = FromUtf8(row.Text(2));
    project.status.category = FromUtf8(row.Text(3));
    project.status.state = static_cast<std::int32_t>(row.Number(4));
    project.location = FromUtf8(row.Text(5));
    project.version = FromUtf8(row.Text(6));
    project.maxBackupCounter = static_cast<std::uint32_t>(row.Number(7));
    for (OV::UniStringView text : ReadColumn<TextList>(row.View(8))) {
        const auto user = TakeWord(text);
        project.members.insert({user, OV::UniString(text)});
    }
    for (OV::UniStringView text : ReadColumn<TextList>(row.View(9)))
        project.backupSchedules.insert(ReadSchedule(text));
    return project;
}

void Family<Project>::Check(Database& database, const Project& project)
{
    Rules::CheckName(project.name, "name of the project");
    Rules::CheckText(project.description, "description");
    Rules::CheckText(project.version, "version");
    if (project.status.state < Records::V1::ProjectStatus::Locked ||
        project.status.state > Records::V1::ProjectStatus::Active)
        Rules::Break("The state is 1 (locked), 2 (maintenance) or 3 (active).");
    if (!project.status.category.empty())
        // To the letter: what follows a category compares so.
        Rules::CheckReferences(database,
                               "SELECT 1 FROM project_categories "
                               "WHERE lower(name) = lower($1) AND name || '' = $1",
                               OV::Array<OV::UniString>{project.status.category}, "category");
    OV::HashSet<OV::UniString> users, roles;
    for (const auto& member : project.members) {
        if (!users.insert(member.id).second)
            Rules::Break("A user is a member twice.");
        roles.insert(member.roleId);
    }
    Rules::CheckReferences(database, "SELECT 1 FROM users WHERE id = $1", users, "user");
    Rules::CheckReferences(database, "SELECT 1 FROM roles WHERE id = $1", roles, "role");
}

void Family<Project>::Write(Database& database, const Project& project)
{
    const auto id = ToUtf8(project.id);
    database
        .Prepare("INSERT INTO projects (id, name, location, category, state, version, "
                 "description, maximum_backups) VALUES ($1, $2, '/projects/' || $1, $3, $4, $5, "
                 "$6, $7) ON CONFLICT (id) DO UPDATE SET name = excluded.name, "
                 "category = excluded.category, state = excluded.state, "
                 "version = excluded.version, description = excluded.description, "
                 "maximum_backups = excluded.maximum_backups")
        .Bind(1, id)
        .Bind(2, ToUtf8(project.name))
        .Bind(3, ToUtf8(project.status.category))
        .Bind(4, std::int64_t{project.status.state})
        .Bind(5, ToUtf8(project.version))
        .Bind(6, ToUtf8(project.description))
        .Bind(7, std::int64_t{project.maxBackupCounter})
        .Run();
    WriteMembers(database, id, project.members);
    WriteSchedules(database, id, project.backupSchedules);
}

}  // namespace Nexar
