#pragma once

#include "OVRoot/Export.hpp"

#include <typeinfo>

namespace OV {

class Executor;

/// First base of the interfaces of observers. An observer ends its attachment before it is
/// destroyed: with Detach, or by holding its Subscription as the last member. Otherwise the next
/// notification calls what is no longer there; builds with assertions then log an error with the
/// name of the interface.
class SYC_API ObserverBase {
protected:
    ObserverBase() = default;
    ObserverBase(const ObserverBase&) = default;
    ObserverBase& operator=(const ObserverBase&) = default;
    ~ObserverBase();
};

namespace Detail {

/// A copy of what observers are told, for those that hear of it later.
class SYC_API KeptCall {
public:
    virtual ~KeptCall();
    virtual void Tell(void* observer) = 0;
};

/// The list of an EventSource, which knows nothing of its observers but where they are, so that
/// threads and locks stay out of the header.
class SYC_API ObserverList {
public:
    using Tell = void (*)(void* call, void* observer);
    using Keep = KeptCall* (*)(const void* call);
    class State;

    explicit ObserverList(bool observersOutlive);
    ~ObserverList();
    ObserverList(const ObserverList&) = delete;
    ObserverList& operator=(const ObserverList&) = delete;

    /// `type` names the observer in messages.
    void Attach(const std::type_info& type, void* observer);
    /// Returns the number of the attachment.
    unsigned long long Subscribe(const std::type_info& type, void* observer, Executor* executor);
    void Detach(void* observer);
    /// Calls `tell(call, observer)` for each that has no executor; the executors of the others get
    /// a copy that `keep(call)` makes.
    void Notify(Tell tell, Keep keep, void* call);
    [[nodiscard]] State& GetState() const noexcept { return *state_; }

private:
    /// No holder of <memory>: that header alone would be half a second to compile for whoever
    /// includes an observer's subject.
    State* const state_;
};

}  // namespace Detail

/// An observer's attachment to a source while this lives, or while the source does: either may go
/// first. Movable. Hold it as the last member of the observer, so that it ends before anything that
/// a notification needs. Safe on any thread, as EventSource is.
class SYC_API Subscription {
public:
    Subscription() noexcept = default;
    /// What EventSource makes; hosts take it from Subscribe.
    Subscription(Detail::ObserverList::State& state, void* observer,
                 unsigned long long number) noexcept;
    /// The one that is moved from ends nothing any more.
    /// @{
    Subscription(Subscription&& other) noexcept;
    Subscription& operator=(Subscription&& other) noexcept;
    /// @}
    /// Waits for a call of the observer that another thread is in, as EventSource::Detach does.
    ~Subscription();

    /// Ends the attachment now.
    void Reset() noexcept;
    /// Whether the observer is still attached by it and the source is still there.
    [[nodiscard]] bool IsStanding() const noexcept;

private:
    Detail::ObserverList::State* state_ = nullptr;
    void* observer_ = nullptr;
    unsigned long long number_ = 0;
};

/// Says of a source that its end detaches its observers for good.
struct ObserversOutlive {};

/// A list of observers that may change while it is being told something. An observer stands in it
/// once: attaching it again does nothing, subscribing it again replaces the former attachment,
/// whose Subscription then ends nothing. Detaching an unknown observer does nothing. Safe on any
/// thread.
///
/// A source that ends lets go of all observers and waits for a call of one that another thread is
/// in; builds with assertions log the observers that were attached without a Subscription.
template <class Observer>
class EventSource {
public:
    EventSource() : observers_(false) {}
    /// One whose observers own it or outlive it in another way, and never detach.
    explicit EventSource(ObserversOutlive) : observers_(true) {}

    /// Adds the observer behind the others. It detaches before it is destroyed, or outlives the
    /// source.
    void Attach(Observer& observer) { observers_.Attach(typeid(Observer), &observer); }

    /// When this returns, the observer is not being told anything and will not be, so it may be
    /// destroyed: waits for a call of it that another thread is in. Not with a lock held that the
    /// observer takes when it is told. Called from an observer whose own detaching a thread inside
    /// that call waits for, it does not wait, for neither could go on: then the observer may be
    /// destroyed only after the calling one has returned.
    void Detach(Observer& observer) { observers_.Detach(&observer); }

    /// Attaches the observer for as long as the answer lives.
    [[nodiscard]] Subscription Subscribe(Observer& observer)
    {
        return Subscribe(observer, nullptr);
    }

    /// Calls `tell(observer)` in order of attachment. An observer that was detached by one called
    /// before it is left out. What an observer throws, of whichever type, is logged and harms
    /// neither the caller nor the others. Not with a lock held (see HeldLocks.hpp).
    template <class Tell>
    void Notify(Tell&& tell)
    {
        auto call = [&tell](void* observer) { tell(*static_cast<Observer*>(observer)); };
        observers_.Notify(&Run<decltype(call)>, nullptr, &call);
    }

protected:
    /// How the list, which knows no types, comes back to the observer's.
    template <class Call>
    static void Run(void* call, void* observer)
    {
        (*static_cast<Call*>(call))(observer);
    }
    /// For PostingEventSource: with a null executor the observer is told on the notifying thread.
    [[nodiscard]] Subscription Subscribe(Observer& observer, Executor* executor)
    {
        return {observers_.GetState(), &observer,
                observers_.Subscribe(typeid(Observer), &observer, executor)};
    }

    /// Who is told.
    Detail::ObserverList observers_;
};

/// An event source whose observers may be told on an executor of their choice.
template <class Observer>
class PostingEventSource : public EventSource<Observer> {
public:
    using EventSource<Observer>::Subscribe;
    /// The observer is told on `executor`, in order, and not at all once the answer or the source
    /// has ended. The executor outlives both.
    [[nodiscard]] Subscription Subscribe(Observer& observer, Executor& executor)
    {
        return Subscribe(observer, &executor);
    }

    /// As EventSource::Notify; observers with an executor are told a copy of `told` there, so it
    /// holds what it tells by value.
    template <class Told>
    void Notify(const Told& told)
    {
        Call<Told> call(told);
        this->observers_.Notify(&EventSource<Observer>::template Run<Call<Told>>, &Call<Told>::Copy,
                                &call);
    }

private:
    template <class Told>
    class Call final : public Detail::KeptCall {
    public:
        explicit Call(const Told& told) : told_(told) {}
        void Tell(void* observer) override { told_(*static_cast<Observer*>(observer)); }
        void operator()(void* observer) { Tell(observer); }
        static Detail::KeptCall* Copy(const void* call)
        {
            return new Call(*static_cast<const Call*>(call));
        }

    private:
        Told told_;
    };
};

}  // namespace OV
