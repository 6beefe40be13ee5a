#pragma once

#include "HttpServer.hpp"
#include "SignalStore.hpp"
#include "Store/News.hpp"
#include "StoreWorkers.hpp"

#include <deque>
#include <map>
#include <memory>
#include <vector>

namespace Nexar {

/// Raises signals, and holds the requests that wait for them. A waiting request is a completion and
/// a timer, not a thread. What this process raises reaches the waiting requests right after the
/// commit; of what others raise it hears that there is something, and reads it. Lives on the
/// server's thread, but for Raise.
class SignalHub {
public:
    using Answer = std::function<void(Syncra::Protocol::SignalBatch)>;
    using UserIds = RaisedSignal::UserIds;

    SignalHub(HttpServer& server, StoreWorkers& workers, Database& database);
    ~SignalHub();
    SignalHub(const SignalHub&) = delete;
    SignalHub& operator=(const SignalHub&) = delete;

    /// Of a thread that writes, with what the signal tells of: for every member of the project;
    /// whoever of them may have changed.
    void Raise(const std::string& projectId, Syncra::Protocol::SignalId id);
    /// For every member, about these of them.
    void RaiseAbout(const std::string& projectId, Syncra::Protocol::SignalId id, UserIds changed);
    /// For these users alone.
    void RaiseFor(const std::string& projectId, Syncra::Protocol::SignalId id, UserIds audience);
    /// Answers what the user's requests wait for: his client asks again, and is refused if he may
    /// not any more. Of a thread that writes.
    void Release(const std::string& userId);

    /// Answers with the next signal for the user after a place that the store was just read at, or
    /// after `wait`; without any, so that he asks again, when it is not known what came since the
    /// reading. Returns what forgets the waiting request unanswered; it does nothing once that is
    /// answered.
    [[nodiscard]] std::function<void()> Wait(const std::string& projectId,
                                             const std::string& userId, std::uint64_t place,
                                             std::chrono::milliseconds wait, Answer answer);
    /// Answers every waiting request, and later ones at once: the server stops.
    void ReleaseAll();

    [[nodiscard]] SignalStore& Store() { return store_; }

private:
    struct Waiter {
        std::string userId;
        std::uint64_t after;
        Answer answer;
        std::shared_ptr<void> timer;
    };
    using Waiters = std::vector<std::shared_ptr<Waiter>>;
    struct Project {
        std::uint64_t known = 0;          ///< of the newest signal before which none is missing
        std::deque<RaisedSignal> recent;  ///< the last ones up to that
        Waiters waiters;
        bool isBehind = false;  ///< others raised something that was not read
        bool isReading = false;
        std::shared_ptr<void> retry;
    };

    void Add(RaisedSignal raised);
    void Hear(const RaisedSignal& raised);
    void HearOfOthers(const std::vector<std::string>& projectIds);
    void Take(Project& project, const RaisedSignal& raised);
    void CatchUp(const std::string& projectId, Project& project);
    void CatchUpLater(const std::string& projectId, Project& project);
    void CaughtUp(const std::string& projectId, const std::optional<SignalStore::Found>& found);
    static Syncra::Protocol::SignalBatch BatchAfter(const Project& project, const Waiter& waiter);
    /// Answers the waiting requests that `chosen` picks, with what `batchOf` has for them.
    template <class Chosen, class BatchOf>
    static void Release(Project& project, const Chosen& chosen, const BatchOf& batchOf);

    HttpServer& server_;
    StoreWorkers& workers_;
    SignalStore store_;
    std::map<std::string, Project> projects_;
    bool stopping_ = false;
    std::unique_ptr<News> news_;  ///< none of a store that this process has alone
};

}  // namespace Nexar
