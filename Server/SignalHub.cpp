#include "SignalHub.hpp"

#include "StoreWorkers.hpp"

#include "OVRoot/Guid.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Nexar {

using Syncra::Protocol::EverySignal;
using Syncra::Protocol::Signal;
using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

constexpr std::size_t MaximumRecent = 1000;

bool IsAboutMembers(SignalId id)
{
    return id == SignalId::MembersChanged || id == SignalId::SessionsChanged;
}

}  // namespace

SignalHub::SignalHub(HttpServer& server)
    : server_(server), life_(OV::ToUtf8(OV::Guid::Generate().ToText()) + ".")
{}

void SignalHub::Raise(const std::string& projectId, SignalId id)
{
    StoreWorkers::AfterCommit([this, projectId, id] { RaiseNow(projectId, id, {}, {}); });
}

void SignalHub::RaiseAbout(const std::string& projectId, SignalId id, UserIds changed)
{
    StoreWorkers::AfterCommit(
        [this, projectId, id, some = std::make_shared<const UserIds>(std::move(changed))] {
            RaiseNow(projectId, id, {}, some);
        });
}

void SignalHub::RaiseFor(const std::string& projectId, SignalId id, UserIds audience)
{
    StoreWorkers::AfterCommit(
        [this, projectId, id, some = std::make_shared<const UserIds>(std::move(audience))] {
            RaiseNow(projectId, id, some, {});
        });
}

void SignalHub::RaiseNow(const std::string& projectId, SignalId id,
                         std::shared_ptr<const UserIds> audience,
                         std::shared_ptr<const UserIds> changed)
{
    Project& project = projects_[projectId];
    const Raised& newest = project.recent.emplace_back(Raised{
        {++sequence_, id, OV::FromUtf8(projectId)}, std::move(audience), std::move(changed)});
    Release(project, [&](const Waiter& waiter) { return newest.IsFor(waiter.userId); });
    if (project.recent.size() > MaximumRecent) {
        project.forgotten = project.recent.front().signal.sequence;
        project.recent.pop_front();
    }
}

SignalHub::MembersChanged SignalHub::MembersChangedAfter(const std::string& projectId,
                                                         const std::string& place) const
{
    MembersChanged result{std::nullopt, life_ + std::to_string(sequence_)};
    const auto project = projects_.find(projectId);
    const auto after = place.starts_with(life_)
                           ? ReadNumber(std::string_view(place).substr(life_.size()))
                           : std::nullopt;
    if (!after || (project != projects_.end() && *after < project->second.forgotten))
        return result;
    UserIds since;
    if (project != projects_.end())
        for (const auto& raised : project->second.recent) {
            if (raised.signal.sequence <= *after || !IsAboutMembers(raised.signal.id))
                continue;
            if (!raised.changed)
                return result;
            since.insert(raised.changed->begin(), raised.changed->end());
        }
    result.since = std::move(since);
    return result;
}

std::function<void()> SignalHub::Wait(const std::string& projectId, const std::string& userId,
                                      std::uint64_t after, std::chrono::milliseconds wait,
                                      Answer answer)
{
    Project& project = projects_[projectId];
    // 0 asks for the place alone, and gets no signals.
    const bool asksForPlace = after == 0 && wait.count() == 0;
    if (asksForPlace || stopping_ || wait.count() == 0 || after > sequence_ ||
        HasNews(project, userId, after)) {
        answer(asksForPlace ? SignalBatch{{}, sequence_} : BatchAfter(project, userId, after));
        return [] {};
    }
    const auto waiter = std::make_shared<Waiter>(Waiter{userId, after, std::move(answer), {}});
    const auto forget = [&project, weak = std::weak_ptr(waiter)] {
        std::erase(project.waiters, weak.lock());
    };
    waiter->timer = server_.After(wait, [this, &project, forget, waiting = waiter.get()] {
        const Answer late = std::move(waiting->answer);
        const SignalBatch batch = BatchAfter(project, waiting->userId, waiting->after);
        forget();
        late(batch);
    });
    project.waiters.push_back(waiter);
    return forget;
}

void SignalHub::Release(const std::string& userId)
{
    StoreWorkers::AfterCommit([this, userId] {
        for (auto& [id, project] : projects_)
            Release(project, [&](const Waiter& waiter) { return waiter.userId == userId; });
    });
}

void SignalHub::ReleaseAll()
{
    stopping_ = true;
    for (auto& [id, project] : projects_)
        Release(project, [](const Waiter&) { return true; });
}

bool SignalHub::HasNews(const Project& project, const std::string& userId, std::uint64_t after)
{
    for (auto raised = project.recent.rbegin();
         raised != project.recent.rend() && raised->signal.sequence > after; ++raised)
        if (raised->IsFor(userId))
            return true;
    return after < project.forgotten;
}

SignalBatch SignalHub::BatchAfter(const Project& project, const std::string& userId,
                                  std::uint64_t after) const
{
    SignalBatch batch;
    batch.next = sequence_;
    // A sequence beyond ours is from another life of the server: its client begins from here.
    if (after > sequence_)
        return batch;
    // Who missed more than is kept gets one of each kind instead.
    if (after < project.forgotten)
        for (const auto id : EverySignal)
            batch.events.push_back({sequence_, id, project.recent.front().signal.projectId});
    else
        for (const auto& raised : project.recent)
            if (raised.signal.sequence > after && raised.IsFor(userId))
                batch.events.push_back(raised.signal);
    return batch;
}

void SignalHub::Release(Project& project, const std::function<bool(const Waiter&)>& chosen)
{
    const auto first = std::stable_partition(project.waiters.begin(), project.waiters.end(),
                                             [&](const auto& waiter) { return !chosen(*waiter); });
    const Waiters released(std::make_move_iterator(first),
                           std::make_move_iterator(project.waiters.end()));
    project.waiters.erase(first, project.waiters.end());
    for (const auto& waiter : released)
        waiter->answer(BatchAfter(project, waiter->userId, waiter->after));
}

}  // namespace Nexar
