#include "ProjectStore.hpp"

#include "OVRoot/UniString.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

namespace Nexar {

namespace {

using Syncra::Protocol::ProjectState;
using Syncra::Protocol::Utf8Text;

/// A project as a row has it, until the next one.
struct ProjectRow {
    Utf8Text id, name, location, category;
    ProjectState state;
    Utf8Text version;
    std::int32_t build;
};

template <class Visitor>
void Describe(Visitor& v, ProjectRow& row)
{
    Syncra::Protocol::DescribeProject(v, row);
}

void ReadInto(Syncra::Protocol::Project& project, const Statement& row)
{
    project.id = OV::FromUtf8(row.Text(0));
    project.name = OV::FromUtf8(row.Text(1));
    project.location = OV::FromUtf8(row.Text(2));
    project.category = OV::FromUtf8(row.Text(3));
    project.state = static_cast<Syncra::Protocol::ProjectState>(row.Number(4));
    project.version = OV::FromUtf8(row.Text(5));
    project.build = static_cast<std::int32_t>(row.Number(6));
}

// His own, and the public ones that are not: two lists without a project in common take no table to
// find those in both.
#define NEXAR_VISIBLE_PROJECTS                                                                     \
    "FROM (SELECT project_id AS id, 1 AS is_member FROM members WHERE user_id = $1 "               \
    "UNION ALL SELECT id, 0 FROM projects q WHERE is_public = 1 AND NOT EXISTS (SELECT 1 FROM "    \
    "members m WHERE m.project_id = q.id AND m.user_id = $1)) v CROSS JOIN projects p "            \
    "WHERE p.id = v.id ORDER BY number /* all */"

}  // namespace

std::string ProjectStore::VisibleJson(const std::string& userId)
{
    auto query = database_.Prepare(
        "SELECT p.id, name, location, category, state, version, build " NEXAR_VISIBLE_PROJECTS);
    query.Bind(1, userId);
    constexpr std::size_t usualBytes = 4096, usualBytesOfOne = 256;
    std::string json = "{\"projects\":[";
    json.reserve(usualBytes);
    for (const char* separator = ""; query.Step(); separator = ",") {
        const ProjectRow row{
            {query.View(0)},
            {query.View(1)},
            {query.View(2)},
            {query.View(3)},
            static_cast<ProjectState>(query.Number(4)),
            {query.View(5)},
            static_cast<std::int32_t>(query.Number(6)),
        };
        json.append(separator).append(Syncra::Protocol::WriteJson(row, usualBytesOfOne));
    }
    return json + "]}";
}

std::vector<Syncra::Protocol::ProjectOverview> ProjectStore::OverviewFor(const std::string& userId)
{
    auto query = database_.Prepare("SELECT p.id, name, location, category, state, version, build, "
                                   "(SELECT COUNT(*) FROM members WHERE project_id = p.id), "
                                   "is_member " NEXAR_VISIBLE_PROJECTS);
    query.Bind(1, userId);
    std::vector<Syncra::Protocol::ProjectOverview> projects;
    while (query.Step()) {
        auto& project = projects.emplace_back();
        ReadInto(project, query);
        project.members = static_cast<std::uint32_t>(query.Number(7));
        project.isMember = query.Number(8) != 0;
    }
    return projects;
}

bool ProjectStore::NameExists(const std::string& name)
{
    return database_.Prepare("SELECT 1 FROM projects WHERE lower(name) = lower($1)")
        .Bind(1, name)
        .Step();
}

std::optional<Syncra::Protocol::ProjectState> ProjectStore::FindState(const std::string& projectId)
{
    auto query = database_.Prepare("SELECT state FROM projects p WHERE id = $1 /* hold p */");
    if (!query.Bind(1, projectId).Step())
        return std::nullopt;
    return static_cast<Syncra::Protocol::ProjectState>(query.Number(0));
}

bool ProjectStore::IsMember(const std::string& projectId, const std::string& userId)
{
    return database_.Prepare("SELECT 1 FROM members WHERE project_id = $1 AND user_id = $2")
        .Bind(1, projectId)
        .Bind(2, userId)
        .Step();
}

void ProjectStore::Add(const StoredProject& project)
{
    const auto& record = project.record;
    database_
        .Prepare(
            "INSERT INTO projects (id, name, location, category, state, version, build, is_public) "
            "VALUES ($1, $2, $3, $4, $5, $6, $7, $8)")
        .Bind(1, OV::ToUtf8(record.id))
        .Bind(2, OV::ToUtf8(record.name))
        .Bind(3, OV::ToUtf8(record.location))
        .Bind(4, OV::ToUtf8(record.category))
        .Bind(5, static_cast<std::int64_t>(record.state))
        .Bind(6, OV::ToUtf8(record.version))
        .Bind(7, std::int64_t{record.build})
        .Bind(8, std::int64_t{project.isPublic})
        .Run();
}

void ProjectStore::SetState(const std::string& projectId, Syncra::Protocol::ProjectState state)
{
    database_.Prepare("UPDATE projects SET state = $2 WHERE id = $1")
        .Bind(1, projectId)
        .Bind(2, static_cast<std::int64_t>(state))
        .Run();
}

bool ProjectStore::RoleExists(const std::string& role)
{
    return database_.Prepare("SELECT 1 FROM roles WHERE name = $1").Bind(1, role).Step();
}

}  // namespace Nexar
