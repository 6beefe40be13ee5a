#include "SYClientBase/PresenceService.hpp"

namespace SYCB {

/// Holds no lock while it tells the observers, so that one of them may wait for another thread that
/// changes the state too. Two changes at once may therefore be told in either order; GetState is
/// right.
void PresenceService::SetState(PresenceState state)
{
    Word before = word_.load();
    do {
        if (before.held != 0 && state == PresenceState::Online)
            return;
    } while (!word_.compare_exchange_weak(before, {state, before.held}));
    if (before.state == state)
        return;
    observers_.Notify([this, state](PresenceServiceObserver& observer) {
        observer._ServiceStateChanged(*this, state);
    });
}

void PresenceService::HoldOffline(bool held) noexcept
{
    Word before = word_.load();
    while (!word_.compare_exchange_weak(before, {before.state, held})) {
    }
}

}  // namespace SYCB
