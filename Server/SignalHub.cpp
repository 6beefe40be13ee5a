#include "SignalHub.hpp"

#include "Guarded.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Nexar {

using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

/// More than come while a request is on its way from the store to its place among the waiting.
constexpr std::size_t MostRecent = 64;
constexpr std::chrono::milliseconds RetryPause{500};

}  // namespace

SignalHub::SignalHub(HttpServer& server, StoreWorkers& workers, Database& database)
    : server_(server), workers_(workers), store_(database),
      news_(database.MakeNews("news", [this](const std::vector<std::string>& projectIds) {
          server_.Post([this, projectIds] { HearOfOthers(projectIds); });
      }))
{}

SignalHub::~SignalHub() = default;

void SignalHub::Raise(const std::string& projectId, SignalId id)
{
    Add({{0, id, OV::FromUtf8(projectId)}, nullptr, nullptr});
}

void SignalHub::RaiseAbout(const std::string& projectId, SignalId id, UserIds changed)
{
    Add({{0, id, OV::FromUtf8(projectId)},
         nullptr,
         std::make_shared<const UserIds>(std::move(changed))});
}

void SignalHub::RaiseFor(const std::string& projectId, SignalId id, UserIds audience)
{
    Add({{0, id, OV::FromUtf8(projectId)},
         std::make_shared<const UserIds>(std::move(audience)),
         nullptr});
}

void SignalHub::Add(RaisedSignal raised)
{
    // Of a project that is gone there is nothing left but who waits.
    const bool isKept = store_.Add(raised);
    StoreWorkers::AfterCommit([this, isKept, raised = std::move(raised)] {
        const auto projectId = OV::ToUtf8(raised.signal.projectId);
        if (isKept)
            Hear(raised);
        else
            CaughtUp(projectId, std::nullopt);
        if (news_)
            news_->Tell(projectId);
    });
}

/// Commits of one project are in the order of their numbers; that they are told here is not.
void SignalHub::Hear(const RaisedSignal& raised)
{
    const auto projectId = OV::ToUtf8(raised.signal.projectId);
    Project& project = projects_[projectId];
    if (raised.signal.sequence <= project.known)
        return;
    if (raised.signal.sequence == project.known + 1) {
        Take(project, raised);
    } else if (project.waiters.empty()) {
        project.recent.clear();
        Take(project, raised);
    } else {
        CatchUp(projectId, project);
    }
}

void SignalHub::HearOfOthers(const std::vector<std::string>& projectIds)
{
    const auto hear = [this](const std::string& id, Project& project) {
        project.isBehind = true;
        if (!project.waiters.empty())
            CatchUp(id, project);
    };
    for (const auto& id : projectIds)
        hear(id, projects_[id]);
    if (projectIds.empty())
        for (auto& [id, project] : projects_)
            hear(id, project);
}

void SignalHub::Take(Project& project, const RaisedSignal& raised)
{
    project.recent.push_back(raised);
    project.known = raised.signal.sequence;
    Release(
        project, [&](const Waiter& waiter) { return raised.IsFor(waiter.userId); },
        [&](const Waiter& waiter) { return BatchAfter(project, waiter); });
    if (project.recent.size() > MostRecent)
        project.recent.pop_front();
}

/// Reads what came after the newest known signal.
void SignalHub::CatchUp(const std::string& projectId, Project& project)
{
    if (project.isReading) {
        project.isBehind = true;
        return;
    }
    project.isBehind = false;
    project.isReading = true;
    const auto found = std::make_shared<std::optional<SignalStore::Found>>();
    const auto then = [this, projectId, found](const std::exception_ptr& error) {
        Project& read = projects_[projectId];
        read.isReading = false;
        if (error)
            return CatchUpLater(projectId, read);
        CaughtUp(projectId, *found);
        if (read.isBehind && !read.waiters.empty())
            CatchUp(projectId, read);
    };
    try {
        workers_.Read(
            "@signals",
            [this, projectId, found, after = project.known] {
                *found = store_.After(projectId, after);
            },
            then);
    } catch (...) {
        project.isReading = false;
        CatchUpLater(projectId, project);
    }
}

/// The store does not answer, or has too much to do. Who waits goes on waiting.
void SignalHub::CatchUpLater(const std::string& projectId, Project& project)
{
    project.isBehind = true;
    if (stopping_)
        return;
    project.retry = server_.After(RetryPause, [this, projectId] {
        Project& behind = projects_[projectId];
        if (!behind.waiters.empty())
            CatchUp(projectId, behind);
    });
}

void SignalHub::CaughtUp(const std::string& projectId,
                         const std::optional<SignalStore::Found>& found)
{
    Project& project = projects_[projectId];
    const auto everybody = [](const Waiter&) { return true; };
    if (!found) {
        // They ask again, and learn that it is gone.
        Release(project, everybody, [&](const Waiter& waiter) {
            return SignalBatch{
                {{waiter.after + 1, SignalId::ProjectStateChanged, OV::FromUtf8(projectId)}},
                waiter.after + 1};
        });
        return;
    }
    if (found->isIncomplete) {
        // More than is kept, or a store that was put in the place of this one: the store tells
        // them.
        Release(project, everybody, [](const Waiter& waiter) {
            return SignalBatch{{}, waiter.after};
        });
        project.recent.clear();
        project.known = found->last;
        return;
    }
    for (const auto& raised : found->signals)
        if (raised.signal.sequence == project.known + 1)
            Take(project, raised);
}

std::function<void()> SignalHub::Wait(const std::string& projectId, const std::string& userId,
                                      std::uint64_t place, std::chrono::milliseconds wait,
                                      Answer answer)
{
    Project& project = projects_[projectId];
    if (project.waiters.empty() && project.known < place) {
        project.recent.clear();
        project.known = place;
    }
    const auto waiter = std::make_shared<Waiter>(Waiter{userId, place, std::move(answer), {}});
    const bool isKnown =
        project.known <= place ||
        (!project.recent.empty() && project.recent.front().signal.sequence <= place + 1);
    const auto isNews = [&](const RaisedSignal& raised) {
        return raised.signal.sequence > place && raised.IsFor(userId);
    };
    if (stopping_ || !isKnown ||
        std::any_of(project.recent.begin(), project.recent.end(), isNews)) {
        waiter->answer(isKnown ? BatchAfter(project, *waiter) : SignalBatch{{}, place});
        return [] {};
    }
    const auto forget = [&project, weak = std::weak_ptr(waiter)] {
        std::erase(project.waiters, weak.lock());
    };
    waiter->timer = server_.After(wait, [&project, forget, waiting = waiter.get()] {
        const Answer late = std::move(waiting->answer);
        const SignalBatch batch = BatchAfter(project, *waiting);
        forget();
        late(batch);
    });
    project.waiters.push_back(waiter);
    // Somebody raised something while the request was on its way here, or others wait for it.
    if (project.isBehind || project.known < place)
        CatchUp(projectId, project);
    return forget;
}

void SignalHub::Release(const std::string& userId)
{
    StoreWorkers::AfterCommit([this, userId] {
        for (auto& [id, project] : projects_)
            Release(
                project, [&](const Waiter& waiter) { return waiter.userId == userId; },
                [&](const Waiter& waiter) { return BatchAfter(project, waiter); });
    });
}

void SignalHub::ReleaseAll()
{
    stopping_ = true;
    for (auto& [id, project] : projects_) {
        project.retry.reset();
        Release(
            project, [](const Waiter&) { return true; },
            [&](const Waiter& waiter) { return BatchAfter(project, waiter); });
    }
}

SignalBatch SignalHub::BatchAfter(const Project& project, const Waiter& waiter)
{
    SignalBatch batch;
    batch.next = std::max(project.known, waiter.after);
    for (const auto& raised : project.recent)
        if (raised.signal.sequence > waiter.after && raised.IsFor(waiter.userId))
            batch.events.push_back(raised.signal);
    return batch;
}

template <class Chosen, class BatchOf>
void SignalHub::Release(Project& project, const Chosen& chosen, const BatchOf& batchOf)
{
    const auto first = std::stable_partition(project.waiters.begin(), project.waiters.end(),
                                             [&](const auto& waiter) { return !chosen(*waiter); });
    const Waiters released(std::make_move_iterator(first),
                           std::make_move_iterator(project.waiters.end()));
    project.waiters.erase(first, project.waiters.end());
    for (const auto& waiter : released)
        waiter->answer(batchOf(*waiter));
}

}  // namespace Nexar
