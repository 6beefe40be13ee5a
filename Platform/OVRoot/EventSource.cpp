#include "OVRoot/EventSource.hpp"

#include "OVRoot/Detail/TypeName.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace OV::Detail {

namespace {

/// Which threads wait for the calls of which.
struct Waits {
    Lock lock;
    std::map<std::thread::id, std::vector<std::thread::id>> others OV_GUARDED_BY(lock);
};

Waits& AllWaits()
{
    static auto& waits = *new Waits;
    return waits;
}

bool Reaches(const Waits& waits, std::vector<std::thread::id> from, std::thread::id goal)
    OV_REQUIRES(waits.lock)
{
    std::set<std::thread::id> seen;
    while (!from.empty()) {
        const std::thread::id thread = from.back();
        from.pop_back();
        if (thread == goal)
            return true;
        if (!seen.insert(thread).second)
            continue;
        if (const auto next = waits.others.find(thread); next != waits.others.end())
            from.insert(from.end(), next->second.begin(), next->second.end());
    }
    return false;
}

/// A thread that waits for the calls that `others` are in to end. Not when one of them waits,
/// directly or through more threads, for this one: two calls that detach each other's observers
/// would wait for ever.
class WaitForCalls {
public:
    explicit WaitForCalls(std::vector<std::thread::id> others)
    {
        const std::thread::id self = std::this_thread::get_id();
        Waits& waits = AllWaits();
        const LockGuard guard(waits.lock);
        canEnd_ = !Reaches(waits, others, self);
        if (canEnd_)
            waits.others[self] = std::move(others);
    }
    ~WaitForCalls()
    {
        if (!canEnd_)
            return;
        Waits& waits = AllWaits();
        const LockGuard guard(waits.lock);
        waits.others.erase(std::this_thread::get_id());
    }
    WaitForCalls(const WaitForCalls&) = delete;
    WaitForCalls& operator=(const WaitForCalls&) = delete;
    [[nodiscard]] bool CanEnd() const noexcept { return canEnd_; }

private:
    bool canEnd_;
};

/// Logs the exception that is being handled, once, as one that left an observer of that class.
void LogObserverFailure(const std::type_info& observer) noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& failure) {
            Logger::Error(Logger::Library, u"An observer (%) failed: %",
                          {FromUtf8(TypeName(observer)), failure.what()});
        } catch (...) {
            Logger::Error(Logger::Library, u"An observer (%) failed.",
                          {FromUtf8(TypeName(observer))});
        }
    } catch (...) {
        // There is no memory for the line.
    }
}

/// What builds with assertions know of all attachments, to name an observer or a source that went
/// before they ended.
#ifdef NDEBUG

void NoteAttached(const void*, const std::type_info&) noexcept {}
void NoteDetached(const void*) noexcept {}
void NameForgotten(const std::type_info&, const char16_t*) noexcept {}
const std::type_info* FindAttached(const void*) noexcept
{
    return nullptr;
}

#else

struct Attachments {
    std::mutex lock;
    std::multimap<const void*, const std::type_info*> types;
};

Attachments& AllAttachments()
{
    static auto& attachments = *new Attachments;
    return attachments;
}

void NoteAttached(const void* observer, const std::type_info& type)
{
    Attachments& all = AllAttachments();
    const std::lock_guard guard(all.lock);
    all.types.emplace(observer, &type);
}

void NoteDetached(const void* observer) noexcept
{
    Attachments& all = AllAttachments();
    const std::lock_guard guard(all.lock);
    if (const auto found = all.types.find(observer); found != all.types.end())
        all.types.erase(found);
}

const std::type_info* FindAttached(const void* observer) noexcept
{
    Attachments& all = AllAttachments();
    const std::lock_guard guard(all.lock);
    const auto found = all.types.find(observer);
    return found == all.types.end() ? nullptr : found->second;
}

void NameForgotten(const std::type_info& type, const char16_t* format) noexcept
{
    try {
        Logger::Error(Logger::Library, format, {FromUtf8(TypeName(type))});
    } catch (...) {
        // There is no memory for the line.
    }
}

#endif

}  // namespace

KeptCall::~KeptCall() = default;

/// Lives as long as its list, a subscription, or a call that is on its way to an executor.
class ObserverList::State {
public:
    /// Keeps a state alive.
    class Hold {
    public:
        explicit Hold(State& state) noexcept : state_(&state) { ++state_->holds_; }
        Hold(const Hold& other) noexcept : Hold(*other.state_) {}
        Hold& operator=(const Hold&) = delete;
        ~Hold() { state_->Release(); }
        State* operator->() const noexcept { return state_; }

    private:
        State* state_;
    };

    /// One observer, and the way to it.
    struct Entry {
        void* observer;
        const std::type_info* type;
        Executor* executor;
        unsigned long long number;
        bool isSubscribed;
    };

    explicit State(bool observersOutlive) : observersOutlive_(observersOutlive) {}

    void Retain() noexcept { ++holds_; }
    void Release() noexcept
    {
        if (--holds_ == 0)
            delete this;
    }

    unsigned long long Add(const std::type_info& type, void* observer, Executor* executor,
                           bool isSubscribed)
    {
        const LockGuard guard(lock_);
        const auto found = Find(observer);
        if (found != entries_.end() && !isSubscribed)
            return found->number;
        const Entry entry{observer, &type, executor, ++lastNumber_, isSubscribed};
        if (found != entries_.end()) {
            *found = entry;
        } else {
            entries_.push_back(entry);
            NoteAttached(observer, type);
        }
        return entry.number;
    }

    void Detach(void* observer)
    {
        const LockGuard guard(lock_);
        if (const auto found = Find(observer); found != entries_.end())
            Erase(found);
        AwaitCallsElsewhere([observer](const Running& each) { return each.observer == observer; });
    }

    /// Nothing when another attachment has taken its place.
    void End(void* observer, unsigned long long number)
    {
        const LockGuard guard(lock_);
        const auto found = Find(observer);
        if (found == entries_.end() || found->number != number)
            return;
        Erase(found);
        AwaitCallsElsewhere([observer](const Running& each) { return each.observer == observer; });
    }

    /// The source goes: no call of it will begin, and none is under way.
    void Close()
    {
        std::vector<Entry> forgotten;
        {
            const LockGuard guard(lock_);
            forgotten.swap(entries_);
            for (const Entry& entry : forgotten)
                NoteDetached(entry.observer);
            AwaitCallsElsewhere([](const Running&) { return true; });
        }
        for (const Entry& entry : forgotten)
            if (!entry.isSubscribed && !observersOutlive_)
                NameForgotten(*entry.type,
                              u"A source ends while an observer (%) is attached to it, which may "
                              u"detach too late. Detach it before, or hold a Subscription.");
    }

    [[nodiscard]] bool Has(void* observer, unsigned long long number)
    {
        const LockGuard guard(lock_);
        return Contains(observer, number);
    }

    [[nodiscard]] std::vector<Entry> Snapshot()
    {
        const LockGuard guard(lock_);
        return entries_;
    }

    /// Tells one observer unless it has been detached meanwhile.
    template <class Told>
    void Call(const Entry& entry, const Told& told)
    {
        if (!BeginCall(entry))
            return;
        try {
            told(entry.observer);
        } catch (...) {
            LogObserverFailure(*entry.type);
        }
        EndCall(entry.observer);
    }

    void Post(const Entry& entry, Keep keep, const void* call)
    {
        try {
            const std::shared_ptr<KeptCall> kept(keep(call));
            (void)entry.executor->Execute(MakeTask([hold = Hold(*this), entry, kept] {
                hold->Call(entry, [&kept](void* observer) { kept->Tell(observer); });
            }));
        } catch (...) {
            LogObserverFailure(*entry.type);
        }
    }

private:
    /// One observer being called.
    struct Running {
        void* observer;
        std::thread::id thread;

        friend bool operator==(const Running&, const Running&) = default;
    };
    using Entries = std::vector<Entry>;

    [[nodiscard]] Entries::iterator Find(const void* observer) OV_REQUIRES(lock_)
    {
        return std::find_if(entries_.begin(), entries_.end(),
                            [=](const Entry& entry) { return entry.observer == observer; });
    }
    [[nodiscard]] bool Contains(const void* observer, unsigned long long number) OV_REQUIRES(lock_)
    {
        const auto found = Find(observer);
        return found != entries_.end() && found->number == number;
    }
    void Erase(Entries::iterator entry) OV_REQUIRES(lock_)
    {
        NoteDetached(entry->observer);
        entries_.erase(entry);
    }

    [[nodiscard]] bool BeginCall(const Entry& entry)
    {
        const LockGuard guard(lock_);
        if (!Contains(entry.observer, entry.number))
            return false;
        running_.push_back({entry.observer, std::this_thread::get_id()});
        return true;
    }

    void EndCall(void* observer)
    {
        const LockGuard guard(lock_);
        running_.erase(std::find(running_.begin(), running_.end(),
                                 Running{observer, std::this_thread::get_id()}));
        returned_.notify_all();
    }

    template <class Fits>
    [[nodiscard]] std::vector<std::thread::id> OthersIn(const Fits& fits) const OV_REQUIRES(lock_)
    {
        std::vector<std::thread::id> threads;
        for (const Running& running : running_)
            if (running.thread != std::this_thread::get_id() && fits(running))
                threads.push_back(running.thread);
        return threads;
    }

    template <class Fits>
    void AwaitCallsElsewhere(const Fits& fits) OV_REQUIRES(lock_)
    {
        auto others = OthersIn(fits);
        if (others.empty())
            return;
        if (const WaitForCalls wait(std::move(others)); wait.CanEnd())
            returned_.wait(lock_, [&]() OV_REQUIRES(lock_) { return OthersIn(fits).empty(); });
    }

    const bool observersOutlive_;
    std::atomic<int> holds_ = 1;
    Lock lock_;
    std::condition_variable_any returned_;
    Entries entries_ OV_GUARDED_BY(lock_);
    unsigned long long lastNumber_ OV_GUARDED_BY(lock_) = 0;
    std::vector<Running> running_ OV_GUARDED_BY(lock_);
};

ObserverList::ObserverList(bool observersOutlive) : state_(new State(observersOutlive)) {}

ObserverList::~ObserverList()
{
    state_->Close();
    state_->Release();
}

void ObserverList::Attach(const std::type_info& type, void* observer)
{
    (void)state_->Add(type, observer, nullptr, false);
}

unsigned long long ObserverList::Subscribe(const std::type_info& type, void* observer,
                                           Executor* executor)
{
    return state_->Add(type, observer, executor, true);
}

void ObserverList::Detach(void* observer)
{
    state_->Detach(observer);
}

void ObserverList::Notify(Tell tell, Keep keep, void* call)
{
    const State::Hold hold(*state_);  // an observer may end the source
    const std::vector<State::Entry> entries = state_->Snapshot();
    if (!entries.empty())
        AssertNoLockHeld(*entries.front().type);
    for (const State::Entry& entry : entries)
        if (entry.executor != nullptr)
            hold->Post(entry, keep, call);
        else
            hold->Call(entry, [=](void* observer) { tell(call, observer); });
}

}  // namespace OV::Detail

namespace OV {

ObserverBase::~ObserverBase()
{
    if (const std::type_info* type = Detail::FindAttached(this))
        Detail::NameForgotten(*type,
                              u"An observer (%) is destroyed while it is attached; the next "
                              u"notification will call what is no longer there. Detach it before, "
                              u"or hold a Subscription as its last member.");
}

Subscription::Subscription(Detail::ObserverList::State& state, void* observer,
                           unsigned long long number) noexcept
    : state_(&state), observer_(observer), number_(number)
{
    state_->Retain();
}

Subscription::Subscription(Subscription&& other) noexcept
    : state_(std::exchange(other.state_, nullptr)), observer_(other.observer_),
      number_(other.number_)
{}

Subscription& Subscription::operator=(Subscription&& other) noexcept
{
    if (this != &other) {
        Reset();
        state_ = std::exchange(other.state_, nullptr);
        observer_ = other.observer_;
        number_ = other.number_;
    }
    return *this;
}

Subscription::~Subscription()
{
    Reset();
}

void Subscription::Reset() noexcept
{
    if (auto* state = std::exchange(state_, nullptr)) {
        state->End(observer_, number_);
        state->Release();
    }
}

bool Subscription::IsStanding() const noexcept
{
    return state_ != nullptr && state_->Has(observer_, number_);
}

}  // namespace OV
