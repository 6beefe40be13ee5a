#include "SessionStore.hpp"

#include "MemberStore.hpp"
#include "Refusal.hpp"

#include "OVRoot/Clock.hpp"
#include "OVRoot/Guid.hpp"

namespace Nexar {

using Syncra::Protocol::Session;
using Syncra::Protocol::SessionAtWork;
using Syncra::Protocol::SessionEnd;

namespace {

/// So long an owner may come to learn that somebody ended his session.
constexpr std::int64_t SecondsOfNotice = 30 * 86'400;

#define NEXAR_SESSIONS_AT_WORK                                                                     \
    "SELECT s.id, s.project_id, p.name, u.login, u.full_name, m.role, s.start_time, "              \
    "coalesce(c.value, ''), coalesce(nullif(t.value, ''), 'Normal') "                              \
    "FROM sessions s CROSS JOIN members m CROSS JOIN users u CROSS JOIN projects p "               \
    "LEFT JOIN session_attributes c ON c.session_id = s.id AND c.name = 'ComputerName' "           \
    "LEFT JOIN session_attributes t ON t.session_id = s.id AND t.name = 'SessionType' "            \
    "WHERE m.project_id = s.project_id AND m.user_id = s.user_id AND u.id = s.user_id "            \
    "AND p.id = s.project_id "

Session ReadSession(RolePermissions& permissions, const Statement& row)
{
    Session session;
    session.id = OV::FromUtf8(row.Text(0));
    session.projectId = OV::FromUtf8(row.Text(1));
    session.userId = OV::FromUtf8(row.Text(2));
    session.loginName = OV::FromUtf8(row.Text(3));
    session.userName = OV::FromUtf8(row.Text(4));
    session.logonId = static_cast<std::int32_t>(row.Number(5));
    session.roleName = OV::FromUtf8(row.Text(6));
    session.startTime = static_cast<std::int32_t>(row.Number(7));
    session.permissions = permissions.Of(row.Text(6));
    return session;
}

}  // namespace

std::optional<Session> SessionStore::Find(const std::string& projectId, const std::string& userId)
{
    auto query = database_.Prepare(
        "SELECT s.id, s.project_id, s.user_id, u.login, u.full_name, m.logon_id, m.role, "
        "s.start_time FROM sessions s JOIN members m USING (project_id, user_id) "
        "JOIN users u ON u.id = s.user_id WHERE s.project_id = $1 AND s.user_id = $2");
    if (!query.Bind(1, projectId).Bind(2, userId).Step())
        return std::nullopt;
    RolePermissions permissions(database_);
    return ReadSession(permissions, query);
}

std::vector<Session> SessionStore::List(const std::string& projectId)
{
    auto query = database_.Prepare(
        "SELECT s.id, s.project_id, s.user_id, u.login, u.full_name, m.logon_id, m.role, "
        "s.start_time FROM sessions s JOIN members m USING (project_id, user_id) "
        "JOIN users u ON u.id = s.user_id WHERE s.project_id = $1 ORDER BY m.logon_id");
    query.Bind(1, projectId);
    RolePermissions permissions(database_);
    std::vector<Session> sessions;
    while (query.Step())
        sessions.push_back(ReadSession(permissions, query));
    return sessions;
}

std::optional<Session> SessionStore::Start(const std::string& projectId, const std::string& userId)
{
    // The unique key decides between two clients that start at once.
    const int added =
        database_
            .Prepare("INSERT INTO sessions (id, project_id, user_id, start_time) "
                     "VALUES ($1, $2, $3, $4) ON CONFLICT (project_id, user_id) DO NOTHING")
            .Bind(1, OV::ToUtf8(OV::Guid::Generate().ToText()))
            .Bind(2, projectId)
            .Bind(3, userId)
            .Bind(4, std::int64_t{OV::Clock::Current().Now()})
            .Run();
    return added == 1 ? Find(projectId, userId) : std::nullopt;
}

std::optional<std::string> SessionStore::Close(const std::string& sessionId,
                                               const std::string& userId)
{
    // Before the session: who works in a project holds it first.
    auto projectId = FindProject(sessionId, userId);
    if (projectId &&
        database_.Prepare("DELETE FROM sessions WHERE id = $1").Bind(1, sessionId).Run() == 0)
        return std::nullopt;
    return projectId;
}

std::vector<SessionAtWork> SessionStore::ListAtWork(const std::string& projectId)
{
    const bool isOfOne = !projectId.empty();
    auto query = database_.Prepare(
        isOfOne ? NEXAR_SESSIONS_AT_WORK "AND s.project_id = $1 "
                                         "ORDER BY s.start_time, m.logon_id"
                : NEXAR_SESSIONS_AT_WORK "ORDER BY p.number, s.start_time, m.logon_id /* all */");
    if (isOfOne)
        query.Bind(1, projectId);
    std::vector<SessionAtWork> sessions;
    while (query.Step()) {
        auto& session = sessions.emplace_back();
        OV::UniString* const texts[] = {&session.id,          &session.projectId,
                                        &session.projectName, &session.loginName,
                                        &session.userName,    &session.roleName};
        for (int column = 0; column < 6; ++column)
            *texts[column] = OV::FromUtf8(query.Text(column));
        session.startTime = static_cast<std::int32_t>(query.Number(6));
        session.computer = OV::FromUtf8(query.Text(7));
        session.type = OV::FromUtf8(query.Text(8));
    }
    return sessions;
}

std::optional<SessionStore::Owned> SessionStore::FindOwner(const std::string& sessionId)
{
    auto query = database_.Prepare("SELECT p.id, s.user_id FROM sessions s CROSS JOIN projects p "
                                   "WHERE s.id = $1 AND p.id = s.project_id /* hold p */");
    if (!query.Bind(1, sessionId).Step())
        return std::nullopt;
    return Owned{query.Text(0), query.Text(1)};
}

bool SessionStore::End(const std::string& sessionId, const Owned& owner, const std::string& endedBy,
                       const OV::UniString& reason)
{
    const std::int64_t now = OV::Clock::Current().Now();
    Transaction transaction(database_);
    if (database_.Prepare("DELETE FROM sessions WHERE id = $1").Bind(1, sessionId).Run() == 0)
        return false;
    std::string login, name;
    {
        auto user = database_.Prepare("SELECT login, full_name FROM users WHERE id = $1");
        if (user.Bind(1, endedBy).Step()) {
            login = user.Text(0);
            name = user.Text(1);
        }
    }
    database_.Prepare("DELETE FROM session_ends WHERE time < $1")
        .Bind(1, now - SecondsOfNotice)
        .Run();
    database_
        .Prepare("INSERT INTO session_ends (session_id, project_id, user_id, ended_by, "
                 "ended_by_name, reason, time) VALUES ($1, $2, $3, $4, $5, $6, $7)")
        .Bind(1, sessionId)
        .Bind(2, owner.projectId)
        .Bind(3, owner.userId)
        .Bind(4, login)
        .Bind(5, name)
        .Bind(6, OV::ToUtf8(reason))
        .Bind(7, now)
        .Run();
    transaction.Commit();
    return true;
}

std::optional<SessionEnd> SessionStore::FindEnd(const std::string& sessionId,
                                                const std::string& userId)
{
    auto query = database_.Prepare("SELECT ended_by, ended_by_name, reason, time FROM session_ends "
                                   "WHERE session_id = $1 AND user_id = $2");
    if (!query.Bind(1, sessionId).Bind(2, userId).Step())
        return std::nullopt;
    return SessionEnd{OV::FromUtf8(query.Text(0)), OV::FromUtf8(query.Text(1)),
                      OV::FromUtf8(query.Text(2)), static_cast<std::int32_t>(query.Number(3))};
}

std::optional<std::string> SessionStore::FindProject(const std::string& sessionId,
                                                     const std::string& userId)
{
    auto query = database_.Prepare("SELECT p.id FROM sessions s CROSS JOIN projects p "
                                   "WHERE s.id = $1 AND s.user_id = $2 AND p.id = s.project_id "
                                   "/* hold p */");
    if (!query.Bind(1, sessionId).Bind(2, userId).Step())
        return std::nullopt;
    return query.Text(0);
}

bool SessionStore::IsVisibleTo(const std::string& sessionId, const std::string& userId)
{
    return database_
        .Prepare("SELECT 1 FROM sessions s CROSS JOIN members m "
                 "WHERE s.id = $1 AND m.project_id = s.project_id AND m.user_id = $2")
        .Bind(1, sessionId)
        .Bind(2, userId)
        .Step();
}

std::string SessionStore::GetAttribute(const std::string& sessionId, const std::string& name)
{
    auto query = database_.Prepare(
        "SELECT value FROM session_attributes WHERE session_id = $1 AND name = $2");
    return query.Bind(1, sessionId).Bind(2, name).Step() ? query.Text(0) : std::string();
}

void SessionStore::SetAttribute(const std::string& sessionId, const std::string& name,
                                const std::string& value, std::size_t most)
{
    auto others = database_.Prepare(
        "SELECT count(*) FROM session_attributes WHERE session_id = $1 AND name <> $2");
    if (others.Bind(1, sessionId).Bind(2, name).Step() &&
        static_cast<std::size_t>(others.Number(0)) >= most)
        throw Refusal(Syncra::Protocol::ErrorCode::TooLarge,
                      "A session holds at most " + std::to_string(most) + " attributes.");
    database_
        .Prepare("INSERT INTO session_attributes (session_id, name, value) VALUES ($1, $2, $3) "
                 "ON CONFLICT (session_id, name) DO UPDATE SET value = excluded.value")
        .Bind(1, sessionId)
        .Bind(2, name)
        .Bind(3, value)
        .Run();
}

}  // namespace Nexar
