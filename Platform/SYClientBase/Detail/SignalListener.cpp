#include "SYClientBase/Detail/SignalListener.hpp"

#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/Thread.hpp"
#include "SYCommunication/ServerTrust.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <chrono>

namespace SYCB::Detail {

using Syncra::Protocol::Signal;
using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

constexpr const char* LogCategory = "SYClient";
/// Short enough for the boxes on the way, which drop what is silent for a minute.
constexpr std::uint32_t HeldRequestMilliseconds = 25'000;
/// A server that does not hold the request, or gets no further, must not be asked without a pause.
constexpr std::uint32_t NotHeldPauseMilliseconds = 500;

/// Lets SetForcedOffline reach the client while it lives.
class ReachableClient {
public:
    ReachableClient(SignalState& state, std::shared_ptr<Syncra::Client::SyncraClient> client)
        : state_(state)
    {
        state_.SetClient(std::move(client));
    }
    ~ReachableClient() { state_.SetClient(nullptr); }
    ReachableClient(const ReachableClient&) = delete;
    ReachableClient& operator=(const ReachableClient&) = delete;

private:
    SignalState& state_;
};

}  // namespace

// The client is the host's, and is called without the lock.

void SignalState::SetForcedOffline(bool forced)
{
    presence_.HoldOffline(forced);
    std::shared_ptr<Syncra::Client::SyncraClient> client;
    {
        const OV::LockGuard guard(lock_);
        ++changes_;
        if (forced)
            client.swap(client_);
        changed_.notify_all();
    }
    if (client) {
        OV::AssertNoLockHeld("SyncraClient::Cancel");
        client->Cancel();
    }
}

void SignalState::SetClient(std::shared_ptr<Syncra::Client::SyncraClient> client)
{
    std::shared_ptr<Syncra::Client::SyncraClient> former = client;
    {
        const OV::LockGuard guard(lock_);
        former.swap(client_);
    }
    if (client && IsForcedOffline())
        client->Cancel();
}

/// The analysis does not follow a lock into the condition variable; the same holds for Pause.
void SignalState::AwaitOnlineWish() OV_NO_ANALYSIS
{
    std::unique_lock guard(lock_);
    if (!changed_.wait(guard, OV::Thread::CurrentToken(), [this] { return !IsForcedOffline(); }))
        throw OV::InterruptedException();
}

void SignalState::Pause(std::uint32_t milliseconds) OV_NO_ANALYSIS
{
    std::unique_lock guard(lock_);
    changed_.wait_for(guard, OV::Thread::CurrentToken(), std::chrono::milliseconds(milliseconds),
                      [this, before = changes_]() OV_NO_ANALYSIS { return changes_ != before; });
    if (OV::Thread::IsInterrupted())
        throw OV::InterruptedException();
}

void SignalState::PauseBeforeTry(std::uint32_t milliseconds)
{
    const struct Told {
        SignalState& state;

        void Set(std::optional<PKSignalClient::Clock::time_point> time) const
        {
            const OV::LockGuard guard(state.lock_);
            state.nextTry_ = time;
        }
        ~Told() { Set(std::nullopt); }
    } told{*this};
    told.Set(PKSignalClient::Clock::now() + std::chrono::milliseconds(milliseconds));
    Pause(milliseconds);
}

void SignalState::TryNow()
{
    const OV::LockGuard guard(lock_);
    ++changes_;
    changed_.notify_all();
}

std::optional<PKSignalClient::Clock::time_point> SignalState::GetNextTry()
{
    const OV::LockGuard guard(lock_);
    return nextTry_;
}

SignalListener::SignalListener(SignalState& state, PresenceService& presence,
                               PKSignalClient::Connector connector, OV::UniString projectId)
    : state_(state), presence_(presence), connector_(std::move(connector)),
      projectId_(std::move(projectId))
{}

void SignalListener::Run()
{
    const Communication::ServerTrust::WithoutQuestion quiet;
    thread_ = std::this_thread::get_id();
    try {
        do
            state_.AwaitOnlineWish();
        while (TryOnce());
    } catch (const OV::InterruptedException&) {
        // Stop was called.
    }
}

/// Listens until something fails. Returns whether to try again, after a pause.
bool SignalListener::TryOnce()
{
    try {
        Listen();
    } catch (const OV::InterruptedException&) {
        if (OV::Thread::IsInterrupted())
            throw;
        return true;  // the user chose to work offline
    } catch (const Communication::ResponseContentException& refusal) {
        NoteLoss(refusal.what(), OV::LogLevel::Info);
        if (Syncra::Protocol::RefusesUser(refusal.GetErrorCode())) {
            OV::Logger::Warning(LogCategory,
                                u"SYCB::PKSignalClient: the server refuses the user (code %); "
                                u"signals are not listened for any more",
                                {refusal.GetErrorCode()});
            return false;
        }
    } catch (const Communication::CommunicationException& failure) {
        NoteLoss(failure.what(), OV::LogLevel::Info);
    } catch (const std::exception& failure) {
        // Nobody looks for this at the server, and it does not go by itself.
        NoteLoss(failure.what(), OV::LogLevel::Warning);
    } catch (...) {
        // The connector is the host's and may throw anything.
        NoteLoss("something unknown was thrown", OV::LogLevel::Warning);
    }
    state_.PauseBeforeTry(backoff_.NextMilliseconds());
    return true;
}

void SignalListener::Listen()
{
    OV::AssertNoLockHeld("PKSignalClient::Connector");
    const std::shared_ptr<Syncra::Client::SyncraClient> client = connector_();
    if (!client)
        throw OV::NullReferenceException();
    const ReachableClient reachable(state_, client);
    ListenWith(*client);
}

void SignalListener::ListenWith(Syncra::Client::SyncraClient& client)
{
    std::uint64_t after = client.WaitForSignals(projectId_, 0, 0).next;
    SetOnline();
    if (std::exchange(wasConnected_, true))
        DeliverEveryKind();
    for (;;) {
        const auto begin = std::chrono::steady_clock::now();
        const SignalBatch batch = client.WaitForSignals(projectId_, after, HeldRequestMilliseconds);
        // Not before: a server that takes the sign-in and fails here is to be asked less and less.
        backoff_.Reset();
        SetOnline();
        if (batch.next < after) {
            DeliverEveryKind();  // the server lost its place, so what came in between is not known
        } else {
            for (const Signal& signal : batch.events)
                Deliver(signal);
        }
        const auto held = std::chrono::steady_clock::now() - begin;
        if ((batch.events.empty() || batch.next <= after) &&
            held < std::chrono::milliseconds(NotHeldPauseMilliseconds))
            state_.Pause(NotHeldPauseMilliseconds);
        after = batch.next;
    }
}

void SignalListener::Deliver(const Signal& signal)
{
    state_.observers.Notify([signal](PKSignalClientObserver& observer) {
        if (observer._CheckSignalType(signal.id))
            observer._SignalReceived(signal);
    });
    if (OV::Thread::IsInterrupted())
        throw OV::InterruptedException();
}

void SignalListener::DeliverEveryKind()
{
    for (const SignalId id : Syncra::Protocol::EverySignal)
        Deliver({0, id, projectId_});
}

void SignalListener::SetOnline()
{
    if (OV::Thread::IsInterrupted() || state_.IsForcedOffline() || !state_.HasClient())
        throw OV::InterruptedException();
    lossWasLogged_ = false;
    state_.SetFailure(nullptr);
    presence_.SetState(PresenceState::Online);
}

void SignalListener::NoteLoss(const char* reason, OV::LogLevel level)
{
    if (OV::Thread::IsInterrupted())
        throw OV::InterruptedException();
    state_.SetFailure(std::current_exception());
    // The loop goes on although there may be no memory for the line, or for telling.
    if (!std::exchange(lossWasLogged_, true))
        OV::Detail::RunLogged(LogCategory, [&] {
            OV::Logger::Write(level, LogCategory,
                              OV::FormatText(u"SYCB::PKSignalClient: offline: %", {reason}));
        });
    OV::Detail::RunLogged(LogCategory, [this] { presence_.SetState(PresenceState::Offline); });
}

}  // namespace SYCB::Detail
