#include "EventLogUpdater.hpp"

#include "LogLineReader.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <limits>
#include <unordered_map>

namespace {

constexpr const char* CannotGet = "Cannot get latest events";

/// The lines of a project's last known second, which the server tells again: each is passed over
/// as often as it is known already.
class KnownLines {
public:
    KnownLines(const OV::PagedArray<LogDataLine>& lines, const OV::String& projectId,
               std::int32_t time)
        : time_(time)
    {
        for (const LogDataLine& line : lines)
            if (line.GetTimeVal() == time && line.Record().projectId == projectId)
                ++counts_[Bytes(line)];
    }
    [[nodiscard]] bool Take(const LogDataLine& line)
    {
        if (counts_.empty() || line.GetTimeVal() != time_)
            return false;
        const auto found = counts_.find(Bytes(line));
        if (found == counts_.end())
            return false;
        if (--found->second == 0)
            counts_.erase(found);
        return true;
    }

private:
    static OV::String Bytes(const LogDataLine& line)
    {
        OV::String bytes;
        line.AppendRecord(bytes);
        return bytes;
    }

    std::int32_t time_;
    std::unordered_map<OV::String, int> counts_;
};

}  // namespace

void EventLogUpdater::Update()
{
    ReadCache();
    Lines lines;
    cache_.GetProjectData(lines);
    const std::size_t known = lines.size();
    std::exception_ptr failure;
    bool isInterrupted = false;
    try {
        Fetch(lines);
    } catch (const OV::Exception& reason) {
        failure = std::current_exception();
        isInterrupted = reason.GetName() == "InterruptedException";
    }
    if (lines.size() > known)
        cache_.SetProjectData(lines);
    // Who is asked to stop has no time for the disk: what came is asked for again.
    if (isInterrupted)
        std::rethrow_exception(failure);
    if (lines.size() > known)
        cache_.FlushCacheData();
    Tell([&](EventLogObserver& observer) { observer.RefreshLog(lines); });
    if (failure)
        std::rethrow_exception(failure);
}

/// A cache of another version, or one that cannot be read, costs no more than fetching all anew.
void EventLogUpdater::ReadCache()
{
    if (isCacheRead_)
        return;
    try {
        bool isFirst = true;
        cache_.GetCacheData([&](const Lines& part, std::uint64_t done, std::uint64_t total) {
            if (std::exchange(isFirst, false))
                Tell([&](EventLogObserver& observer) { observer.PreviewLog(part); });
            TellProgress(done, total);
            return true;
        });
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (const OV::Exception& failure) {
        OV::Logger::Info("SYClient", u"EventLogUpdater::ReadCache: %", {failure.GetMessage()});
    }
    isCacheRead_ = true;
}

void EventLogUpdater::Fetch(Lines& lines)
{
    try {
        const auto client = SYCB::CreateSyncraClient(
            {server_.host, server_.port, server_.userName, server_.password});
        for (const auto& project : client->GetProjects())
            FetchProject(*client, project, lines);
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (const OV::Exception& cause) {
        throw OV::Exception(OV::StringView(CannotGet), OV::SourcePlace::Here(), cause.Clone());
    }
}

void EventLogUpdater::FetchProject(Syncra::Client::SyncraClient& client,
                                   const Syncra::Protocol::Project& project, Lines& lines)
{
    const std::int32_t from = cache_.GetLastLogTime(project.id);
    KnownLines known(lines, OV::ToUtf8(project.id), from);
    Syncra::Protocol::EventLogPage page;
    std::uint64_t done = 0;
    do {
        if (OV::Thread::IsInterrupted())
            throw OV::InterruptedException();
        try {
            page = client.GetEvents(project.id, from, std::numeric_limits<std::int32_t>::max(),
                                    page.next);
        } catch (const Communication::ResponseContentException& refusal) {
            // Everybody sees a public project, its members alone its log.
            OV::Logger::Info("SYClient", u"EventLogUpdater: no log of %: %",
                             {project.name, refusal.GetMessage()});
            return;
        }
        for (auto& line : ReadLogLines(page, project)) {
            ++done;
            if (!known.Take(line))
                lines.push_back(std::move(line));
        }
        TellProgress(done, done + page.left);
    } while (page.left > 0);
}
