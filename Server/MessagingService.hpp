#pragma once

#include "PresenceBoard.hpp"
#include "ProjectStore.hpp"
#include "Router.hpp"

#include <vector>

namespace Nexar {

/// The messaging service: subscriptions to the presence of users in a set of projects, and the
/// requests that wait for a change.
class MessagingService {
public:
    MessagingService(HttpServer& server, const Limits& limits, ProjectStore& projects,
                     PresenceBoard& board);

    void AddRoutes(Router& router);
    /// Answers every waiting request, and later ones at once: the server stops.
    void ReleaseAll();

private:
    using Clock = std::chrono::steady_clock;
    struct Waiter {
        Reply reply;
        std::shared_ptr<void> timer;
    };
    struct Subscription {
        std::string owner;
        std::set<std::string> projects;
        std::set<std::string> present;
        std::uint64_t number = 1;  ///< of `present`; a client's 0 is none
        Clock::time_point lastRequest;
        std::vector<std::shared_ptr<Waiter>> waiters;
    };

    /// On a thread that reads: those of the body that there are.
    void FindProjects(Call& call);
    /// The id of the new subscription.
    [[nodiscard]] OV::UniString Subscribe(const Call& call);
    void WaitForChange(const Call& call, const Reply& reply);
    void Hold(const std::string& id, const Reply& reply, std::chrono::milliseconds wait);
    void AnswerLate(const std::string& id, const std::shared_ptr<Waiter>& waiter);
    void Forget(const std::string& id, const std::shared_ptr<Waiter>& waiter);
    [[nodiscard]] Subscription& FindSubscription(const std::string& id);
    void Update(const std::string& projectId);
    [[nodiscard]] std::set<std::string> PresentIn(const std::set<std::string>& projects) const;
    static void Release(Subscription& subscription);
    /// For one more of the owner's. Throws Refusal.
    void RequireRoom(const std::string& owner);
    [[nodiscard]] static bool HasEnded(const Subscription& subscription);
    [[nodiscard]] static HttpResponse AnswerOf(Subscription& subscription);

    HttpServer& server_;
    const Limits& limits_;
    ProjectStore& projects_;
    PresenceBoard& board_;
    std::map<std::string, Subscription> subscriptions_;
    bool stopping_ = false;
};

}  // namespace Nexar
