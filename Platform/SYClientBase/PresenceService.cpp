#include "SYClientBase/PresenceService.hpp"

namespace SYCB {

/// Holds no lock while it tells the observers, so that one of them may wait for another thread that
/// changes the state too. Two changes at once may therefore be told in either order; GetState is
/// right.
void PresenceService::SetState(PresenceState state)
{
    if (state_.exchange(state) == state)
        return;
    observers_->Notify([this, state](PresenceServiceObserver& observer) {
        observer._ServiceStateChanged(*this, state);
    });
}

}  // namespace SYCB
