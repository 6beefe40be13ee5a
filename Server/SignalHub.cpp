#include "SignalHub.hpp"

#include <utility>

namespace Nexar {

using Syncra::Protocol::Signal;
using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

constexpr std::size_t MaximumRecent = 1000;

}  // namespace

void SignalHub::Raise(const std::string& projectId, SignalId id)
{
    Project& project = projects_[projectId];
    Signal signal;
    signal.sequence = ++sequence_;
    signal.id = id;
    signal.projectId = OV::FromUtf8(projectId);
    project.recent.push_back(std::move(signal));
    if (project.recent.size() > MaximumRecent) {
        project.forgotten = project.recent.front().sequence;
        project.recent.pop_front();
    }
    Release(project);
}

std::function<void()> SignalHub::Wait(const std::string& projectId, std::uint64_t after,
                                      std::chrono::milliseconds wait, Answer answer)
{
    Project& project = projects_[projectId];
    // 0 asks for the place alone, and gets no signals.
    const bool asksForPlace = after == 0 && wait.count() == 0;
    if (asksForPlace || stopping_ || wait.count() == 0 || after > sequence_ ||
        HasNews(project, after)) {
        answer(asksForPlace ? SignalBatch{{}, sequence_} : BatchAfter(project, after));
        return [] {};
    }
    const auto waiter = std::make_shared<Waiter>(Waiter{after, std::move(answer), {}});
    project.waiters.push_back(waiter);
    const auto forget = [&project, weak = std::weak_ptr(waiter)] {
        std::erase(project.waiters, weak.lock());
    };
    waiter->timer = server_.After(wait, [this, &project, forget, waiting = waiter.get()] {
        const Answer late = std::move(waiting->answer);
        const SignalBatch batch = BatchAfter(project, waiting->after);
        forget();
        late(batch);
    });
    return forget;
}

void SignalHub::ReleaseAll()
{
    stopping_ = true;
    for (auto& [id, project] : projects_)
        Release(project);
}

bool SignalHub::HasNews(const Project& project, std::uint64_t after) const
{
    return !project.recent.empty() && project.recent.back().sequence > after;
}

SignalBatch SignalHub::BatchAfter(const Project& project, std::uint64_t after) const
{
    SignalBatch batch;
    batch.next = sequence_;
    // A sequence beyond ours is from another life of the server: its client begins from here.
    if (after > sequence_)
        return batch;
    // Who missed more than is kept gets one of each kind instead.
    if (after < project.forgotten)
        for (const auto id : {SignalId::ProjectStateChanged, SignalId::SessionsChanged,
                              SignalId::MembersChanged, SignalId::NewMail})
            batch.signals.push_back({sequence_, id, project.recent.front().projectId});
    else
        for (const auto& signal : project.recent)
            if (signal.sequence > after)
                batch.signals.push_back(signal);
    return batch;
}

void SignalHub::Release(Project& project)
{
    Waiters waiters;
    waiters.swap(project.waiters);
    for (const auto& waiter : waiters)
        waiter->answer(BatchAfter(project, waiter->after));
}

}  // namespace Nexar
