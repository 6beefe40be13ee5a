#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/Backoff.hpp"
#include "SYClientBase/PKSignalClient.hpp"

#include <condition_variable>
#include <memory>
#include <optional>
#include <thread>

namespace SYCB::Detail {

/// What outlives a single listening: the observers and the wish to work offline, which the presence
/// service keeps.
class SignalState {
public:
    explicit SignalState(PresenceService& presence) : presence_(presence) {}

    OV::PostingEventSource<PKSignalClientObserver> observers;

    [[nodiscard]] bool IsForcedOffline() const noexcept { return presence_.IsHeldOffline(); }
    /// Ends the request under way when `forced`; wakes who waits for the end of it otherwise.
    void SetForcedOffline(bool forced);
    /// Waits on the calling thread until working offline is not wished; throws
    /// InterruptedException.
    void AwaitOnlineWish();
    /// Waits `milliseconds`, or shorter when the wish to work offline changes or TryNow is called.
    void Pause(std::uint32_t milliseconds);
    /// The pause before the next attempt to connect, of which GetNextTry tells the end.
    void PauseBeforeTry(std::uint32_t milliseconds);
    void TryNow();
    [[nodiscard]] std::optional<PKSignalClient::Clock::time_point> GetNextTry();

    /// The client whose request SetForcedOffline ends; null for none.
    void SetClient(std::shared_ptr<Syncra::Client::SyncraClient> client);
    /// Whether it has not been ended, however soon that was lifted: what it still brings is told
    /// by the next one.
    [[nodiscard]] bool HasClient()
    {
        const OV::LockGuard guard(lock_);
        return client_ != nullptr;
    }

    /// Of the last attempt to listen; null while there is none.
    void SetFailure(std::exception_ptr failure)
    {
        const OV::LockGuard guard(lock_);
        failure_.swap(failure);
    }
    [[nodiscard]] std::exception_ptr GetFailure()
    {
        const OV::LockGuard guard(lock_);
        return failure_;
    }

private:
    PresenceService& presence_;
    OV::Lock lock_;
    std::exception_ptr failure_ OV_GUARDED_BY(lock_);
    std::optional<PKSignalClient::Clock::time_point> nextTry_ OV_GUARDED_BY(lock_);
    std::condition_variable_any changed_;
    std::uint64_t changes_ OV_GUARDED_BY(lock_) = 0;
    std::shared_ptr<Syncra::Client::SyncraClient> client_ OV_GUARDED_BY(lock_);
};

/// One listening, from Start to Stop: what its thread does and holds.
class SignalListener {
public:
    SignalListener(SignalState& state, PresenceService& presence,
                   PKSignalClient::Connector connector, OV::UniString projectId);

    /// Returns when the calling thread is interrupted or the server refuses the user.
    void Run();

    /// The thread that Run is on.
    [[nodiscard]] bool IsOnThisThread() const noexcept
    {
        return thread_ == std::this_thread::get_id();
    }

private:
    bool TryOnce();
    void Listen();
    void ListenWith(Syncra::Client::SyncraClient& client);
    void Deliver(const Syncra::Protocol::Signal& signal);
    void DeliverEveryKind();
    void SetOnline();
    /// Inside the handler of what ended the listening.
    void NoteLoss(const char* reason, OV::LogLevel level);

    SignalState& state_;
    PresenceService& presence_;
    PKSignalClient::Connector connector_;
    OV::UniString projectId_;
    Backoff backoff_;
    bool wasConnected_ = false;
    bool lossWasLogged_ = false;
    std::atomic<std::thread::id> thread_;
};

}  // namespace SYCB::Detail
