#include "EventLogService.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"
#include "ProjectAccess.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <algorithm>
#include <ctime>

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::chrono::minutes SampleTime(1);
constexpr std::chrono::hours DropTime(1);
constexpr std::size_t MaximumCommentUnits = 2000;
constexpr double Kibi = 1024;

/// What clients may tell; the rest the server knows by itself.
constexpr OV::UniStringView Actions[] = {
    u"Send",    u"GetAll",  u"PartialGet",     u"GetChanges",     u"Put Object",
    u"Reserve", u"Release", u"Release All",    u"Lock",           u"Unlock",
    u"Comment", u"Share",   u"Project Backup", u"Project Restore"};

std::int64_t Time(const Call& call, const char* name, std::int64_t fallback)
{
    const auto found = call.request.query.find(name);
    if (found != call.request.query.end() && found->second.starts_with('-'))
        return 0;  // before anything was logged
    return static_cast<std::int64_t>(std::min<std::uint64_t>(
        call.QueryNumber(name, static_cast<std::uint64_t>(fallback)), 0x7FFF'FFFF));
}

EventLog::Range ReadRange(const Call& call)
{
    const auto after = std::min<std::uint64_t>(call.QueryNumber("after", 0), 0x7FFF'FFFF'FFFF'FFFF);
    return {Time(call, "from", 0), Time(call, "to", 0x7FFF'FFFF), static_cast<std::int64_t>(after)};
}

}  // namespace

void EventLogService::AddRoutes(Router& router)
{
    const std::string events = "/syncra/v1/projects/{}/events";
    router.Add("GET", events, [this](const Call& call) {
        (void)RequireProject(projects_, call.parameters[0]);
        if (!groups_.IsIn(call.user.userId, UserGroups::Administrators) &&
            !groups_.IsIn(call.user.userId, UserGroups::ProjectManagers))
            RequireMembership(projects_, call, call.parameters[0]);
        return log_.Page(call.parameters[0], ReadRange(call));
    });
    router.Add("POST", events, [this](const Call& call) { Add(call); });
    router.Add("GET", "/syncra/v1/performance", [this](const Call& call) {
        if (!groups_.IsIn(call.user.userId, UserGroups::Administrators))
            throw Refusal(ErrorCode::AccessDenied,
                          "The log of the server's load is for administrators.");
        return log_.PerformancePage(ReadRange(call));
    });
}

void EventLogService::Add(const Call& call)
{
    const auto& project = call.parameters[0];
    RequireMembership(projects_, call, project);
    const auto event = call.Read<LoggedEvent>();
    if (std::find(std::begin(Actions), std::end(Actions), event.action) == std::end(Actions))
        throw Refusal(ErrorCode::BadRequest,
                      "\"" + OV::ToUtf8(event.action) + "\" is no action that clients tell.");
    if (event.comment.size() > MaximumCommentUnits)
        throw Refusal(ErrorCode::TooLarge, "A comment holds at most 2000 characters.");
    if (!sessions_.Find(project, call.user.userId))
        throw Refusal(ErrorCode::AccessDenied,
                      "Only who works in the project can tell what he did. Open it first.");
    log_.Append(project, call.user.userId, event);
}

void EventLogService::SampleLater()
{
    next_ = server_.After(SampleTime, [this] {
        WithMemory([this] { SampleLater(); }, FewAttempts);
        SampleLoad(server_.TakeTraffic());
    });
}

void EventLogService::DropOldLater(std::chrono::milliseconds wait)
{
    if (limits_.keptLogDays == 0 && limits_.keptKeyDays == 0)
        return;
    nextDropping_ = server_.After(wait, [this] {
        WithMemory([this] { DropOldLater(DropTime); }, FewAttempts);
        const auto isMoreLeft = std::make_shared<bool>(false);
        workers_.Write(
            {}, [this, isMoreLeft] { *isMoreLeft = log_.DropOld(limits_); },
            [this, isMoreLeft](std::exception_ptr error) {
                // In parts, so that others may write in between.
                if (*isMoreLeft && nextDropping_)
                    DropOldLater(std::chrono::milliseconds(0));
                if (error)
                    OV::Logger::Warning("nexar-server",
                                        u"Old lines and keys could not be dropped now.");
            });
    });
}

void EventLogService::Stop()
{
    next_.reset();
    nextDropping_.reset();
    if (const auto traffic = server_.TakeTraffic(); traffic.requests > 0)
        SampleLoad(traffic);
}

void EventLogService::SampleLoad(const HttpServer::Traffic& traffic)
{
    workers_.Write(
        {}, [this, traffic] { Sample(traffic); },
        [](std::exception_ptr error) {
            if (error)
                OV::Logger::Warning("nexar-server",
                                    u"The load of the last minute could not be logged.");
        });
}

void EventLogService::Sample(const HttpServer::Traffic& traffic)
{
    const auto now = std::chrono::steady_clock::now();
    const double cpu = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
    const double span = std::chrono::duration<double>(now - lastSample_).count();
    if (span > 0)
        log_.AppendPerformance("cpu", 100 * (cpu - cpuSeconds_) / span);
    log_.AppendPerformance(":memory",
                           static_cast<double>(OV::System::ProcessMemory()) / (Kibi * Kibi));
    log_.AppendPerformance("actions", static_cast<double>(traffic.requests));
    log_.AppendPerformance("transferred", static_cast<double>(traffic.bytes) / Kibi);
    log_.AppendPerformance("transactionlength",
                           std::chrono::duration<double>(traffic.longest).count());
    cpuSeconds_ = cpu;
    lastSample_ = now;
}

}  // namespace Nexar
