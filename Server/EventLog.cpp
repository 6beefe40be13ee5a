#include "EventLog.hpp"

#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <cstdio>

namespace Nexar {

using Syncra::Protocol::EventLogPage;
using Syncra::Protocol::LoggedEvent;

namespace {

constexpr const char* Separator = "#!";
constexpr int LogVersion = 14;
constexpr std::size_t MostLines = 20'000;
constexpr std::size_t MostBytes = 4 * 1024 * 1024;
constexpr std::int64_t SecondsOfDay = 86'400;
constexpr int MostDropped = 10'000;
constexpr std::int64_t KeptSeconds = 400 * SecondsOfDay;

/// A field never holds what ends a field or a line.
void AppendField(std::string& line, std::string_view text)
{
    if (!line.empty())
        line += Separator;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isSeparator = text.substr(at).starts_with(Separator);
        line += isSeparator || text[at] == '\n' || text[at] == '\r' ? ' ' : text[at];
        at += isSeparator ? 1 : 0;
    }
    // A "#" at the end and the separator behind it would be read as one that begins earlier.
    if (line.ends_with('#'))
        line.back() = ' ';
}

/// Fills a page from a query for lines whose first column is their number.
template <class MakeLine>
EventLogPage ReadPage(Statement& query, std::int64_t after, MakeLine&& makeLine)
{
    EventLogPage page;
    page.separator = Separator;
    page.next = static_cast<std::uint64_t>(after);
    std::string line;
    for (std::size_t lines = 0; lines < MostLines && query.Step(); ++lines) {
        line.clear();
        makeLine(line);
        if (lines > 0 && page.text.size() + line.size() > MostBytes)
            break;
        page.text += line;
        page.text += '\n';
        page.next = static_cast<std::uint64_t>(query.Number(0));
    }
    return page;
}

std::string Decimal(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

}  // namespace

EventLogPage EventLog::Page(const std::string& projectId, const Range& range)
{
    EventLogPage page;
    {
        auto query = database_.Prepare(
            "SELECT number, time, \"user\", action, size, comment, seconds FROM events "
            "WHERE project_id = $1 AND time BETWEEN "
            "max($2, coalesce((SELECT time FROM events WHERE number = $4), $2)) AND $3 "
            "AND (time, number) > "
            "(coalesce((SELECT time FROM events WHERE number = $4), -9000000000000000000), $4) "
            "ORDER BY time, number LIMIT 20001 /* by parts */");
        query.Bind(1, projectId).Bind(2, range.from).Bind(3, range.to).Bind(4, range.after);
        page = ReadPage(query, range.after, [&](std::string& line) {
            for (const int column : {1, 2, 3, 4, 5, 6})
                AppendField(line, query.View(column));
            AppendField(line, std::to_string(LogVersion));
            AppendField(line, query.View(0));
        });
    }
    auto left = database_.Prepare(
        "SELECT count(*) FROM (SELECT 1 FROM events WHERE project_id = $1 AND time BETWEEN "
        "max($2, coalesce((SELECT time FROM events WHERE number = $4), $2)) AND $3 "
        "AND (time, number) > "
        "(coalesce((SELECT time FROM events WHERE number = $4), -9000000000000000000), $4) LIMIT "
        "100000) AS lines");
    left.Bind(1, projectId).Bind(2, range.from).Bind(3, range.to);
    left.Bind(4, static_cast<std::int64_t>(page.next));
    page.left = left.Step() ? static_cast<std::uint64_t>(left.Number(0)) : 0;
    return page;
}

EventLogPage EventLog::PerformancePage(const Range& range)
{
    EventLogPage page;
    {
        auto query = database_.Prepare(
            "SELECT number, time, key, value FROM performance WHERE time BETWEEN "
            "max($1, coalesce((SELECT time FROM performance WHERE number = $3), $1)) AND $2 AND "
            "(time, number) > (coalesce((SELECT time FROM performance WHERE number = $3), "
            "-9000000000000000000), "
            "$3) ORDER BY time, number LIMIT 20001 /* by parts */");
        query.Bind(1, range.from).Bind(2, range.to).Bind(3, range.after);
        page = ReadPage(query, range.after, [&](std::string& line) {
            for (const int column : {1, 2, 3})
                AppendField(line, query.View(column));
        });
    }
    auto left = database_.Prepare(
        "SELECT count(*) FROM (SELECT 1 FROM performance WHERE time BETWEEN "
        "max($1, coalesce((SELECT time FROM performance WHERE number = $3), $1)) AND $2 AND "
        "(time, number) > (coalesce((SELECT time FROM performance WHERE number = $3), "
        "-9000000000000000000), $3) "
        "LIMIT 100000) AS lines");
    left.Bind(1, range.from).Bind(2, range.to).Bind(3, static_cast<std::int64_t>(page.next));
    page.left = left.Step() ? static_cast<std::uint64_t>(left.Number(0)) : 0;
    return page;
}

void EventLog::Append(const std::string& projectId, const std::string& userId,
                      const LoggedEvent& event)
{
    auto insert = database_.Prepare(
        "INSERT INTO events (project_id, time, \"user\", action, size, comment, seconds) "
        "SELECT $1, now, full_name || ' (' || login || ')', $3, $4, $5, $6 "
        "FROM users JOIN log_times ON project_id = $1 WHERE id = $2");
    insert.Bind(1, projectId).Bind(2, userId).Bind(3, OV::ToUtf8(event.action));
    insert.Bind(4, std::int64_t(event.size)).Bind(5, OV::ToUtf8(event.comment));
    insert.Bind(6, std::int64_t(event.seconds)).Run();
}

void EventLog::AppendLine(const std::string& projectId, std::int64_t time, const std::string& user,
                          const LoggedEvent& event)
{
    auto insert = database_.Prepare(
        "INSERT INTO events (project_id, time, \"user\", action, size, comment, seconds) "
        "VALUES ($1, $2, $3, $4, $5, $6, $7)");
    insert.Bind(1, projectId).Bind(2, time).Bind(3, user).Bind(4, OV::ToUtf8(event.action));
    insert.Bind(5, std::int64_t(event.size)).Bind(6, OV::ToUtf8(event.comment));
    insert.Bind(7, std::int64_t(event.seconds)).Run();
}

void EventLog::AppendPerformance(const std::string& key, double value)
{
    Transaction transaction(database_);
    const std::int64_t now = std::max<std::int64_t>(OV::Clock::Current().Now(), LastSample());
    AppendPerformanceLine(now, key, value);
    database_.Prepare("DELETE FROM performance WHERE time < $1").Bind(1, now - KeptSeconds).Run();
    transaction.Commit();
}

bool EventLog::DropOld(const Limits& limits)
{
    bool isMoreLeft = false;
    const auto drop = [&](const char* sql, std::uint32_t days) {
        if (days > 0)
            isMoreLeft |=
                database_.Prepare(sql)
                    .Bind(1, OV::Clock::Current().Now() - std::int64_t{days} * SecondsOfDay)
                    .Bind(2, std::int64_t{MostDropped})
                    .Run() == MostDropped;
    };
    drop("/* all */ DELETE FROM events WHERE number IN "
         "(SELECT number FROM events WHERE time < $1 LIMIT $2)",
         limits.keptLogDays);
    drop(
        "/* all */ DELETE FROM mail_keys WHERE (project_id, sender_id, key) IN (SELECT project_id, "
        "sender_id, key FROM mail_keys WHERE time < $1 LIMIT $2)",
        limits.keptKeyDays);
    return isMoreLeft;
}

std::int64_t EventLog::LastSample()
{
    auto query = database_.Prepare("SELECT max(time) FROM performance");
    return query.Step() ? query.Number(0) : 0;
}

void EventLog::AppendPerformanceLine(std::int64_t time, const std::string& key, double value)
{
    auto insert = database_.Prepare(
        "INSERT INTO performance (time, key, value) VALUES ($1, $2, CAST($3 AS DOUBLE PRECISION))");
    insert.Bind(1, time).Bind(2, key).Bind(3, Decimal(value)).Run();
}

}  // namespace Nexar
