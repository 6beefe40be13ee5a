#pragma once

#include "OVRoot/Export.hpp"

#include <typeinfo>

namespace OV {

namespace Detail {

/// The list of an EventSource, which knows nothing of its observers but where they are, so that
/// threads and locks stay out of the header.
class SYC_API ObserverList {
public:
    using Tell = void (*)(void* call, void* observer);

    ObserverList();
    ~ObserverList();
    ObserverList(const ObserverList&) = delete;
    ObserverList& operator=(const ObserverList&) = delete;

    void Attach(void* observer);
    void Detach(void* observer);
    /// Calls `tell(call, observer)` for each; `type` names them in messages.
    void Notify(const std::type_info& type, Tell tell, void* call);

private:
    class State;
    class Call;
    /// No std::unique_ptr: <memory> alone would be half a second to compile for whoever includes
    /// an observer's subject.
    State* const state_;
};

}  // namespace Detail

/// A list of observers that may change while it is being told something.
/// Attaching twice counts once; detaching an unknown observer does nothing. Safe on any thread.
template <class Observer>
class EventSource {
public:
    void Attach(Observer& observer) { observers_.Attach(&observer); }

    /// When this returns, the observer is not being told anything and will not be, so it may be
    /// destroyed: waits for a call of it that another thread is in. Not with a lock held that the
    /// observer takes when it is told. Called from an observer whose own detaching a thread inside
    /// that call waits for, it does not wait, for neither could go on: then the observer may be
    /// destroyed only after the calling one has returned.
    void Detach(Observer& observer) { observers_.Detach(&observer); }

    /// Calls `tell(observer)` in order of attachment. An observer that was detached by one called
    /// before it is left out. What an observer throws, of whichever type, is logged and harms
    /// neither the caller nor the others. Not with a lock held (see HeldLocks.hpp).
    template <class Tell>
    void Notify(Tell&& tell)
    {
        auto call = [&tell](void* observer) { tell(*static_cast<Observer*>(observer)); };
        observers_.Notify(
            typeid(Observer),
            [](void* each, void* observer) { (*static_cast<decltype(call)*>(each))(observer); },
            &call);
    }

private:
    Detail::ObserverList observers_;
};

}  // namespace OV
