#include "EventLogUpdater.hpp"

#include "Detail/CurrentFailure.hpp"
#include "Detail/Interruption.hpp"
#include "Detail/KnownRecords.hpp"
#include "Detail/LogReading.hpp"
#include "LogLineReader.hpp"
#include "ManagementTool/UserUtils.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <algorithm>
#include <limits>

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

/// The lines of a project from that second on, which the server tells again.
SYC::Detail::KnownRecords KnownSince(const OV::PagedArray<LogDataLine>& lines,
                                     const OV::UniString& projectId, std::int32_t time)
{
    const OV::String id = OV::ToUtf8(projectId);
    SYC::Detail::KnownRecords known;
    for (const LogDataLine& line : lines)
        if (line.GetTimeVal() >= time)
            if (const LogRecord record = line.Record(); record.projectId == id)
                known.Add(record);
    return known;
}

}  // namespace

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
    Tell([&](EventLogObserver& observer) { observer.RefreshLog(lines); });
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
            Tell([&](EventLogObserver& observer) { observer.PreviewLog(part); });
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
            OV::Logger::Info("SYClient", u"EventLogUpdater::ReadCache: %", {failure.GetMessage()});
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
        for (const auto& project : client->GetProjects())
            FetchProject(*client, project, reading, lines);
        return;
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (const OV::Exception& failure) {
        cause = failure.Clone();
    } catch (...) {
        cause = std::make_shared<OV::Exception>(SYC::Detail::DescribeCurrentFailure());
    }
    throw OV::Exception(CannotGet, OV::SourcePlace::Here(), std::move(cause));
}

void EventLogUpdater::FetchProject(Syncra::Client::SyncraClient& client,
                                   const Syncra::Protocol::Project& project,
                                   SYC::Detail::LogReading& reading, Lines& lines)
{
    const std::int32_t from = FirstSecond(cache_.GetLastLogTime(project.id));
    auto known = KnownSince(lines, project.id, from);
    Syncra::Protocol::EventLogPage page;
    std::uint64_t done = 0;
    do {
        SYC::Detail::StopIfInterrupted();
        try {
            page = client.GetEvents(project.id, from, std::numeric_limits<std::int32_t>::max(),
                                    page.next);
        } catch (const Communication::ResponseContentException& refusal) {
            // Everybody sees a public project, its members alone its log.
            if (!UserUtils::IsOutOfReach(refusal))
                throw;
            OV::Logger::Info("SYClient", u"EventLogUpdater: no log of %: %",
                             {project.name, refusal.GetMessage()});
            return;
        }
        reading.TakePage(page);
        for (auto& line : ReadLogLines(page, project)) {
            ++done;
            if (!known.Take(line.Record()))
                lines.push_back(std::move(line));
        }
        TellProgress(done, page.left);
    } while (page.left > 0);
}
