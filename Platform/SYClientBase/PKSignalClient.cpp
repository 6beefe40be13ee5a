#include "SYClientBase/PKSignalClient.hpp"

#include "OVRoot/Thread.hpp"
#include "SYClientBase/Detail/SignalListener.hpp"

namespace SYCB {

namespace {

/// A listener with its thread. Destroying it interrupts and joins.
struct Listening {
    Detail::SignalListener listener;
    OV::Thread thread;

    Listening(Detail::SignalState& state, PresenceService& presence,
              PKSignalClient::Connector connector, OV::UniString projectId)
        : listener(state, presence, std::move(connector), std::move(projectId)),
          thread("SignalClient", [this] { listener.Run(); })
    {}
};

}  // namespace

struct PKSignalClient::State {
    explicit State(PresenceService& presence) : signals(presence) {}

    Detail::SignalState signals;
    OV::Lock lock;
    std::unique_ptr<Listening> current OV_GUARDED_BY(lock);
    /// Stopped by an observer on their own thread, which cannot be joined there.
    OV::Array<std::unique_ptr<Listening>> retired OV_GUARDED_BY(lock);

    /// Puts `next` in the place of the current listening and ends that one. Threads are joined
    /// without the lock, since their observers may be calling here.
    void Replace(std::unique_ptr<Listening> next) OV_EXCLUDES(lock)
    {
        OV::Array<std::unique_ptr<Listening>> ended;
        {
            const OV::LockGuard guard(lock);
            ended = std::exchange(retired, {});
            ended.push_back(std::exchange(current, std::move(next)));
        }
        for (std::unique_ptr<Listening>& listening : ended)
            End(std::move(listening));
    }

    void End(std::unique_ptr<Listening> listening) OV_EXCLUDES(lock)
    {
        if (!listening)
            return;
        listening->thread.Interrupt();
        if (!listening->listener.IsOnThisThread())
            return;
        const OV::LockGuard guard(lock);
        retired.push_back(std::move(listening));
    }
};

PKSignalClient::PKSignalClient() : state_(std::make_unique<State>(presence_)) {}

PKSignalClient::~PKSignalClient()
{
    Stop();
}

void PKSignalClient::Start(Connector connector, OV::UniString projectId)
{
    state_->Replace(nullptr);
    state_->Replace(std::make_unique<Listening>(state_->signals, presence_, std::move(connector),
                                                std::move(projectId)));
}

void PKSignalClient::Stop()
{
    state_->Replace(nullptr);
    state_->signals.SetFailure(nullptr);
    presence_.SetState(PresenceState::Unknown);
}

bool PKSignalClient::IsForcedOffline() const noexcept
{
    return state_->signals.IsForcedOffline();
}

void PKSignalClient::SetForcedOffline(bool forced)
{
    state_->signals.SetForcedOffline(forced);
    if (forced && IsForcedOffline())  // another thread may have lifted it already
        presence_.SetState(PresenceState::Offline);
}

void PKSignalClient::Attach(PKSignalClientObserver& observer)
{
    state_->signals.observers.Attach(observer);
}

void PKSignalClient::Detach(PKSignalClientObserver& observer)
{
    state_->signals.observers.Detach(observer);
}

std::exception_ptr PKSignalClient::GetFailure() const
{
    return state_->signals.GetFailure();
}

std::optional<PKSignalClient::Clock::time_point> PKSignalClient::GetNextTry() const
{
    return state_->signals.GetNextTry();
}

void PKSignalClient::TryNow()
{
    state_->signals.TryNow();
}

OV::Subscription PKSignalClient::Subscribe(PKSignalClientObserver& observer)
{
    return state_->signals.observers.Subscribe(observer);
}

OV::Subscription PKSignalClient::Subscribe(PKSignalClientObserver& observer, OV::Executor& executor)
{
    return state_->signals.observers.Subscribe(observer, executor);
}

}  // namespace SYCB
