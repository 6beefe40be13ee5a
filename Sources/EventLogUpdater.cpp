#include "EventLogUpdater.hpp"

#include "Log/Detail/LogRank.hpp"
#include "Log/LogLineReader.hpp"
#include "LogLine/Detail/KnownRecords.hpp"
#include "LogLine/Detail/LogReading.hpp"
#include "ManagementTool/UserUtils.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <queue>

namespace {

namespace UserUtils = Syncra::Server::ManagementTool::Core::UserUtils;

constexpr OV::StringView CannotGet = "Cannot get latest events";

/// A server whose clock is set back by less than this loses no line.
constexpr std::int64_t OverlapSeconds = 86'400;

/// From when on a project's log is asked for. The times of lines are those of the server's clock,
/// which may step back: then new lines are older than the newest one that is known, whose time may
/// even be still to come.
std::int32_t FirstSecond(std::int32_t newest)
{
    if (newest <= 0)
        return newest;
    const std::int64_t last = std::min(newest, OV::Clock::Current().Now());
    return OV::Seconds32(std::max<std::int64_t>(0, last - OverlapSeconds));
}

}  // namespace

/// What is asked of a project's log.
struct EventLogUpdater::Question {
    std::int32_t from = 0;
    /// The lines since then, which the server tells again.
    SYC::Detail::KnownRecords known;
};

/// In one pass over the lines, however many projects there are.
OV::HashTable<OV::String, EventLogUpdater::Question>
EventLogUpdater::Ask(const OV::Array<Syncra::Protocol::Project>& projects, const Lines& lines) const
{
    OV::HashTable<OV::String, Question> questions;
    std::int32_t first = std::numeric_limits<std::int32_t>::max();
    for (const auto& project : projects) {
        const std::int32_t newest = cache_.GetLastLogTime(project.id);
        const std::int32_t from = FirstSecond(newest);
        questions[OV::ToUtf8(project.id)].from = from;
        if (newest > 0)
            first = std::min(first, from);
    }
    auto question = questions.end();
    OV::StringView last;
    for (const LogDataLine& line : lines) {
        // A project whose newest time is not above 0 has no line that is.
        if (line.GetTimeVal() < first && line.GetTimeVal() > 0)
            continue;
        const SYC::LogRecord record = line.Record();
        if (record.projectId != last) {
            last = record.projectId;
            question = questions.find(OV::String(last));
        }
        if (question != questions.end() && line.GetTimeVal() >= question->second.from)
            question->second.known.Add(record);
    }
    return questions;
}

void EventLogUpdater::Update()
{
    ReadCache();
    Lines lines;
    cache_.GetProjectData(lines);
    const std::size_t known = lines.size();
    std::exception_ptr failure;
    try {
        Fetch(lines);
    } catch (const OV::InterruptedException&) {
        // Who is asked to stop has no time for the disk: what came is asked for again.
        if (lines.size() > known)
            cache_.SetProjectData(lines);
        throw;
    } catch (...) {
        failure = std::current_exception();
    }
    if (lines.size() > known) {
        cache_.SetProjectData(lines);
        Flush(cache_, failure);
        cache_.GetProjectData(lines);
    }
    Tell([lines](EventLogObserver& observer) { observer.RefreshLog(lines); });
    if (failure)
        std::rethrow_exception(failure);
}

/// A cache of another version, or one that cannot be read, costs no more than fetching all anew;
/// statistics of another version cost the statistics.
void EventLogUpdater::ReadCache()
{
    if (isCacheRead_)
        return;
    bool isFirst = true;
    const auto show = [&](const Lines& part, std::uint64_t done, std::uint64_t total) {
        if (std::exchange(isFirst, false))
            Tell([part](EventLogObserver& observer) { observer.PreviewLog(part); });
        TellProgress(done, total - done);
        return true;
    };
    const auto succeeds = [](auto&& load) {
        try {
            load();
            return true;
        } catch (const OV::InterruptedException&) {
            throw;
        } catch (const OV::Exception& failure) {
            OV::Logger::Info(OV::Logger::Library, u"EventLogUpdater::ReadCache: %",
                             {failure.GetMessage()});
            return false;
        }
    };
    if (!succeeds([&] { cache_.GetCacheData(show); }))
        (void)succeeds([&] { cache_.GetCacheLines(show); });
    isCacheRead_ = true;
}

void EventLogUpdater::Fetch(Lines& lines)
{
    std::shared_ptr<const OV::Exception> cause;
    try {
        const auto client = SYCB::CreateSyncraClient(
            {server_.host, server_.port, server_.userName, server_.password});
        SYC::Detail::LogReading reading;
        const auto projects = client->GetProjects();
        auto questions = Ask(projects, lines);
        for (const auto& project : projects)
            // Nothing for one that the server names a second time.
            if (auto question = questions.extract(OV::ToUtf8(project.id)))
                FetchProject(*client, project, question.mapped(), reading, lines);
        return;
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (const OV::Exception& failure) {
        cause = failure.Clone();
    } catch (...) {
        cause = std::make_shared<OV::Exception>(OV::DescribeCurrentException());
    }
    throw OV::Exception(CannotGet, OV::SourcePlace::Here(), std::move(cause));
}

void EventLogUpdater::FetchProject(Syncra::Client::SyncraClient& client,
                                   const Syncra::Protocol::Project& project, Question& question,
                                   SYC::Detail::LogReading& reading, Lines& lines)
{
    Syncra::Protocol::EventLogPage page;
    std::uint64_t done = 0;
    do {
        OV::Thread::ThrowIfInterrupted();
        try {
            page = client.GetEvents(project.id, question.from,
                                    std::numeric_limits<std::int32_t>::max(), page.next);
        } catch (const Communication::ResponseContentException& refusal) {
            // Everybody sees a public project, its members alone its log.
            if (!UserUtils::IsOutOfReach(refusal))
                throw;
            OV::Logger::Info(OV::Logger::Library, u"EventLogUpdater: no log of %: %",
                             {project.name, refusal.GetMessage()});
            return;
        }
        reading.TakePage(page);
        for (auto& line : SYC::ReadLogLines(page, project)) {
            ++done;
            if (!question.known.Take(line.Record()))
                lines.push_back(std::move(line));
        }
        TellProgress(done, page.left);
    } while (page.left > 0);
}

namespace {

using Position = std::uint32_t;

/// Where the lines of one key stand now; the first place is at hand.
using Places = std::priority_queue<Position, OV::Array<Position>, std::greater<Position>>;

/// Which former position each position gets. Selection takes the keys best first, and of equal ones
/// the line that stands first; the line that makes room goes to where that one was. Only the line
/// in front of all that remain ever makes room, so it is the first of its key.
OV::Array<Position> Select(const OV::Array<Position>& ranks)
{
    const std::size_t count = ranks.size();
    OV::Array<OV::Array<Position>> standing(
        count == 0 ? 0 : *std::max_element(ranks.begin(), ranks.end()) + std::size_t(1));
    for (std::size_t at = 0; at < count; ++at)
        standing[ranks[at]].push_back(static_cast<Position>(at));
    OV::Array<Places> places;
    for (auto& each : standing)
        places.emplace_back(std::greater<Position>(), std::move(each));
    OV::Array<Position> rankAt = ranks, lineAt(count);
    std::iota(lineAt.begin(), lineAt.end(), Position(0));
    std::size_t rank = 0;
    for (std::size_t front = 0; front < count; ++front) {
        while (places[rank].empty())
            ++rank;
        const Position best = places[rank].top();
        places[rank].pop();
        if (best == front)
            continue;
        Places& displaced = places[rankAt[front]];
        displaced.pop();
        displaced.push(best);
        std::swap(rankAt[front], rankAt[best]);
        std::swap(lineAt[front], lineAt[best]);
    }
    return lineAt;
}

}  // namespace

void EventLogUpdater::SortLines(OV::PagedArray<LogDataLine>& lines, LogDataLine::LogField field,
                                bool ascending)
{
    if (lines.size() > MostSortedLines)
        throw OV::IllegalArgumentException("Of " + std::to_string(lines.size()) +
                                           " lines at most " + std::to_string(MostSortedLines) +
                                           " can be sorted.");
    OV::Array<Position> rows(lines.size()), ranks(lines.size());
    std::iota(rows.begin(), rows.end(), Position(0));
    const auto ranked = SYC::Detail::RankRows(lines, rows, SYC::Detail::KeyOf(field));
    for (const auto& [rank, row] : ranked)
        ranks[row] = ascending ? rank : ranked.back().rank - rank;
    const auto order = Select(ranks);
    OV::Array<LogDataLine> former(std::make_move_iterator(lines.begin()),
                                  std::make_move_iterator(lines.end()));
    for (std::size_t at = 0; at < order.size(); ++at)
        lines[at] = std::move(former[order[at]]);
}
