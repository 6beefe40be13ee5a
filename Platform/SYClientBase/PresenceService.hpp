#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"

#include <atomic>
#include <cstdint>

namespace SYCB {

/// Whether the server of the opened project can be worked with.
enum class PresenceState : std::int32_t {
    Unknown = 0,  ///< nobody has asked it yet
    Offline = 1,
    Online = 2,
};

class PresenceService;

/// Hears when the server of the opened project comes and goes.
class SYC_API PresenceServiceObserver : public OV::ObserverBase {
public:
    virtual ~PresenceServiceObserver() = default;
    /// Called on the thread that changed the state, or on the executor that was given with the
    /// observer.
    virtual void _ServiceStateChanged(PresenceService& service, PresenceState state) = 0;
};

/// The presence state of one opened project. Safe on any thread.
class SYC_API PresenceService {
public:
    /// As it was set last.
    [[nodiscard]] PresenceState GetState() const noexcept { return word_.load().state; }
    /// Whether the server can be worked with now.
    [[nodiscard]] bool IsOnline() const noexcept { return GetState() == PresenceState::Online; }
    /// Tells the observers when the state really changes. Online changes nothing while the state is
    /// held offline.
    void SetState(PresenceState state);

    /// The user chose to work offline: from now on nobody sets the state online, until it is
    /// lifted. Changes no state by itself.
    void HoldOffline(bool held) noexcept;
    /// Whether the user chose to work offline.
    [[nodiscard]] bool IsHeldOffline() const noexcept { return word_.load().held != 0; }

    /// An observer detaches before it is destroyed, or is attached only as long as the answer of
    /// Subscribe lives (see OVRoot/EventSource.hpp). It may outlive this object. With an executor
    /// it is told there, and not at all once the answer has ended.
    void Attach(PresenceServiceObserver& observer) { observers_.Attach(observer); }
    /// See Attach.
    /// @{
    void Detach(PresenceServiceObserver& observer) { observers_.Detach(observer); }
    [[nodiscard]] OV::Subscription Subscribe(PresenceServiceObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    [[nodiscard]] OV::Subscription Subscribe(PresenceServiceObserver& observer,
                                             OV::Executor& executor)
    {
        return observers_.Subscribe(observer, executor);
    }
    /// @}

private:
    /// State and hold change as one, or an "online" could slip in between. No padding: the whole
    /// word is compared.
    struct Word {
        PresenceState state = PresenceState::Unknown;
        std::int32_t held = 0;
    };

    std::atomic<Word> word_;
    OV::PostingEventSource<PresenceServiceObserver> observers_;
};

}  // namespace SYCB
