#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"

#include <atomic>
#include <cstdint>
#include <memory>

namespace SYCB {

/// Whether the server of the opened project can be worked with.
enum class PresenceState : std::int32_t {
    Unknown = 0,  ///< nobody has asked it yet
    Offline = 1,
    Online = 2,
};

class PresenceService;

class SYC_API PresenceServiceObserver {
public:
    virtual ~PresenceServiceObserver() = default;
    /// Called on the thread that changed the state.
    virtual void _ServiceStateChanged(PresenceService& service, PresenceState state) = 0;
};

/// The presence state of one opened project. Safe on any thread.
class SYC_API PresenceService {
public:
    [[nodiscard]] PresenceState GetState() const noexcept { return word_.load().state; }
    [[nodiscard]] bool IsOnline() const noexcept { return GetState() == PresenceState::Online; }
    /// Tells the observers when the state really changes. Online changes nothing while the state is
    /// held offline.
    void SetState(PresenceState state);

    /// The user chose to work offline: from now on nobody sets the state online, until it is
    /// lifted. Changes no state by itself.
    void HoldOffline(bool held) noexcept;
    [[nodiscard]] bool IsHeldOffline() const noexcept { return word_.load().held != 0; }

    void Attach(PresenceServiceObserver& observer) { observers_->Attach(observer); }
    void Detach(PresenceServiceObserver& observer) { observers_->Detach(observer); }

private:
    friend class PresenceSubscription;

    /// State and hold change as one, or an "online" could slip in between. No padding: the whole
    /// word is compared.
    struct Word {
        PresenceState state = PresenceState::Unknown;
        std::int32_t held = 0;
    };

    std::atomic<Word> word_;
    const std::shared_ptr<OV::EventSource<PresenceServiceObserver>> observers_ =
        std::make_shared<OV::EventSource<PresenceServiceObserver>>();
};

/// Attaches an observer to a service while it lives, or while the service does: either may go
/// first. The destructor waits as Detach does.
class PresenceSubscription {
public:
    PresenceSubscription(PresenceService& service, PresenceServiceObserver& observer)
        : service_(&service), observers_(service.observers_), observer_(observer)
    {
        service.Attach(observer);
    }
    ~PresenceSubscription()
    {
        if (const auto observers = observers_.lock())
            observers->Detach(observer_);
    }
    PresenceSubscription(const PresenceSubscription&) = delete;
    PresenceSubscription& operator=(const PresenceSubscription&) = delete;

    /// Whether it is this service's. One that stands where another one stood before is not.
    [[nodiscard]] bool IsOf(const PresenceService& service) const noexcept
    {
        return service_ == &service && observers_.lock() == service.observers_;
    }
    [[nodiscard]] bool IsOver() const noexcept { return observers_.expired(); }

private:
    const PresenceService* service_;
    std::weak_ptr<OV::EventSource<PresenceServiceObserver>> observers_;
    PresenceServiceObserver& observer_;
};

}  // namespace SYCB
