#pragma once

#include "OVRoot/EventSource.hpp"

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

class PresenceServiceObserver {
public:
    virtual ~PresenceServiceObserver() = default;
    /// Called on the thread that changed the state.
    virtual void _ServiceStateChanged(PresenceService& service, PresenceState state) = 0;
};

/// The presence state of one opened project. Safe on any thread.
class PresenceService {
public:
    [[nodiscard]] PresenceState GetState() const noexcept { return state_; }
    [[nodiscard]] bool IsOnline() const noexcept { return GetState() == PresenceState::Online; }
    /// Tells the observers when the state really changes.
    void SetState(PresenceState state);

    void Attach(PresenceServiceObserver& observer) { observers_.Attach(observer); }
    void Detach(PresenceServiceObserver& observer) { observers_.Detach(observer); }

private:
    std::atomic<PresenceState> state_ = PresenceState::Unknown;
    OV::EventSource<PresenceServiceObserver> observers_;
};

}  // namespace SYCB
