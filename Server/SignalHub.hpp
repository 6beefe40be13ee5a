#pragma once

#include "HttpServer.hpp"
#include "SyncraProtocol/Signal.hpp"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Nexar {

/// The signals of all projects within one life of the server, and the requests that wait for them.
/// A waiting request is a completion and a timer, not a thread. Lives on the server's thread; what
/// is raised while the store is written reaches it after the commit.
class SignalHub {
public:
    using Answer = std::function<void(Syncra::Protocol::SignalBatch)>;
    using UserIds = std::set<std::string>;

    explicit SignalHub(HttpServer& server);

    /// For every member of the project; whoever of them may have changed.
    void Raise(const std::string& projectId, Syncra::Protocol::SignalId id);
    /// For every member, about these of them.
    void RaiseAbout(const std::string& projectId, Syncra::Protocol::SignalId id, UserIds changed);
    /// For these users alone.
    void RaiseFor(const std::string& projectId, Syncra::Protocol::SignalId id, UserIds audience);
    /// Answers at once when there is something after `after`, when `after` is from another life or
    /// `wait` is 0, otherwise with the next signal or after `wait`. Returns what forgets the
    /// waiting request unanswered; it does nothing once that is answered.
    [[nodiscard]] std::function<void()> Wait(const std::string& projectId,
                                             const std::string& userId, std::uint64_t after,
                                             std::chrono::milliseconds wait, Answer answer);
    /// Which members signals told of after a place; nothing when that may be anybody.
    struct MembersChanged {
        std::optional<UserIds> since;
        std::string place;  ///< of now
    };
    [[nodiscard]] MembersChanged MembersChangedAfter(const std::string& projectId,
                                                     const std::string& place) const;
    /// Answers what the user's requests wait for: his client asks again, and is refused if he may
    /// not any more.
    void Release(const std::string& userId);
    /// Answers every waiting request, and later ones at once: the server stops.
    void ReleaseAll();

private:
    struct Raised {
        Syncra::Protocol::Signal signal;
        std::shared_ptr<const UserIds> audience;  ///< none: everybody
        std::shared_ptr<const UserIds> changed;   ///< the members that it is about; none: anybody
        [[nodiscard]] bool IsFor(const std::string& userId) const
        {
            return !audience || audience->contains(userId);
        }
    };
    struct Waiter {
        std::string userId;
        std::uint64_t after;
        Answer answer;
        std::shared_ptr<void> timer;
    };
    using Waiters = std::vector<std::shared_ptr<Waiter>>;
    struct Project {
        std::deque<Raised> recent;
        std::uint64_t forgotten = 0;  ///< sequence of the newest signal that is kept no more
        Waiters waiters;
    };

    void RaiseNow(const std::string& projectId, Syncra::Protocol::SignalId id,
                  std::shared_ptr<const UserIds> audience, std::shared_ptr<const UserIds> changed);
    [[nodiscard]] static bool HasNews(const Project& project, const std::string& userId,
                                      std::uint64_t after);
    [[nodiscard]] Syncra::Protocol::SignalBatch
    BatchAfter(const Project& project, const std::string& userId, std::uint64_t after) const;
    /// Answers the waiting requests that `chosen` picks.
    void Release(Project& project, const std::function<bool(const Waiter&)>& chosen);

    HttpServer& server_;
    std::map<std::string, Project> projects_;
    std::uint64_t sequence_ = 0;
    /// What places of this life of the server begin with.
    const std::string life_;
    bool stopping_ = false;
};

}  // namespace Nexar
