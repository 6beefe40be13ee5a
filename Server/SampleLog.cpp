#include "SampleLog.hpp"

#include "EventLog.hpp"
#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace Nexar {

namespace {

using Random = std::mt19937;
constexpr std::int64_t Day = 86'400;
constexpr std::int64_t LogDays = 730;
constexpr std::int64_t LoadDays = 7;
constexpr std::int64_t LoadStep = 600;

struct SampleAction {
    const char16_t* name;
    std::uint32_t share;  ///< how often, beside the others
    std::uint32_t largest;
    std::uint32_t longest;  ///< seconds
};

constexpr std::array actions{
    SampleAction{u"Send", 24, 6'000'000, 40},
    SampleAction{u"GetChanges", 26, 4'000'000, 25},
    SampleAction{u"Reserve", 14, 0, 2},
    SampleAction{u"Release", 12, 0, 2},
    SampleAction{u"Login", 7, 0, 3},
    SampleAction{u"Logout", 7, 0, 28'000},
    SampleAction{u"PartialGet", 4, 900'000, 8},
    SampleAction{u"Comment", 3, 0, 0},
    SampleAction{u"Release All", 1, 0, 3},
    SampleAction{u"GetAll", 1, 90'000'000, 300},
    SampleAction{u"Project Backup", 1, 250'000'000, 600},
};

constexpr std::array comments{
    u"North wall moved by two bricks", u"Section B-B updated", u"Doors of the second floor",
    u"Roof drainage, first draft",     u"Structure checked",   u"Ready for the client"};

std::uint32_t Below(Random& random, std::uint32_t bound)
{
    return bound == 0 ? 0 : static_cast<std::uint32_t>(random() % bound);
}

const SampleAction& PickAction(Random& random)
{
    std::uint32_t all = 0;
    for (const auto& action : actions)
        all += action.share;
    std::uint32_t picked = Below(random, all);
    for (const auto& action : actions) {
        if (picked < action.share)
            return action;
        picked -= action.share;
    }
    return actions.front();
}

/// Times of working days between eight and seven, most of them around noon, in their order.
std::vector<std::int64_t> WorkingTimes(Random& random, std::int64_t now, std::uint32_t count)
{
    const std::int64_t today = now - now % Day;
    std::vector<std::int64_t> times;
    while (times.size() < count) {
        const std::int64_t day = today - Day * (1 + Below(random, LogDays - 1));
        const std::int64_t weekday = (day / Day + 4) % 7;  // 0: Sunday
        const bool isFree = weekday == 0 || weekday == 6;
        if (isFree && Below(random, 20) != 0)
            continue;
        const auto second = Below(random, 5 * 3600 + 1800) + Below(random, 5 * 3600 + 1800);
        times.push_back(day + std::int64_t(8) * 3600 + second);
    }
    std::sort(times.begin(), times.end());
    return times;
}

void AddLoad(EventLog& log, Random& random, std::int64_t now)
{
    for (std::int64_t time = now - LoadDays * Day; time < now; time += LoadStep) {
        const double hour = static_cast<double>(time % Day) / 3600;
        const double work = std::max(0.05, std::sin((hour - 7) / 12 * 3.14159265)) *
                            (0.7 + Below(random, 60) / 100.0);
        log.AppendPerformanceLine(time, "cpu", std::min(97.0, 55 * work));
        log.AppendPerformanceLine(time, ":memory", 42 + 30 * work);
        log.AppendPerformanceLine(time, "actions", std::floor(900 * work));
        log.AppendPerformanceLine(time, "transferred", 8200 * work);
        log.AppendPerformanceLine(time, "transactionlength", 0.02 + 0.6 * work * work);
    }
}

}  // namespace

void AddSampleLog(Database& database, const std::vector<SampleLogMember>& members,
                  std::uint32_t lines)
{
    Random random(20'240'229);
    EventLog log(database);
    const std::int64_t now = OV::Clock::Current().Now();
    for (const std::int64_t time : WorkingTimes(random, now, lines)) {
        // The first projects of the list are the busiest.
        const auto size = static_cast<std::uint32_t>(members.size());
        const auto& member = members[std::min(Below(random, size), Below(random, size))];
        const auto& action = PickAction(random);
        Syncra::Protocol::LoggedEvent event;
        event.action = action.name;
        event.size = Below(random, action.largest);
        event.seconds = Below(random, action.longest);
        if (event.action == u"Comment" || (event.action == u"Send" && Below(random, 3) == 0))
            event.comment = comments[Below(random, comments.size())];
        log.AppendLine(member.projectId, time, member.user, event);
    }
    if (lines > 0)
        AddLoad(log, random, now);
}

}  // namespace Nexar
