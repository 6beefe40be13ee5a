#include "MessagingService.hpp"

#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include "OVRoot/Guid.hpp"

#include <algorithm>
#include <utility>

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::uint64_t LongestPresenceWaitMilliseconds = 60'000;
constexpr std::chrono::seconds SubscriptionLife{90};
// Everybody can sign in as the built-in account: what an address leaves here is bounded, and pushes
// out nobody else's.
constexpr std::size_t MaximumSubscriptions = 10'000;
constexpr std::size_t MaximumProjects = 10'000;

}  // namespace

MessagingService::MessagingService(HttpServer& server, const Limits& limits, ProjectStore& projects,
                                   PresenceBoard& board)
    : server_(server), limits_(limits), projects_(projects), board_(board)
{
    board_.SetObserver([this](const std::string& projectId) { Update(projectId); });
}

void MessagingService::AddRoutes(Router& router)
{
    router.AllowBuiltIn(true);
    router.AddAsync(
        "POST", "/syncra/v1/presence/subscriptions", [this](Call& call) { FindProjects(call); },
        [this](const Call& call, const Reply& reply) {
            reply(JsonResponse(PresenceSubscription{Subscribe(call)}));
        });
    router.AddAsync("GET", "/syncra/v1/presence", nullptr,
                    [this](const Call& call, const Reply& reply) { WaitForChange(call, reply); });
    router.AllowBuiltIn(false);
}

void MessagingService::FindProjects(Call& call)
{
    const auto asked = call.Read<PresenceProjects>().value;
    if (asked.size() > MaximumProjects)
        throw Refusal(ErrorCode::TooLarge, "A subscription takes at most 10000 projects.");
    for (const auto& project : asked)
        if (auto id = OV::ToUtf8(project); projects_.FindState(id))
            call.findings.push_back(std::move(id));
}

OV::UniString MessagingService::Subscribe(const Call& call)
{
    Subscription subscription;
    subscription.owner = Tokens::OwnerOf(call.user, call.request.address);
    RequireRoom(subscription.owner);
    subscription.projects.insert(call.findings.begin(), call.findings.end());
    subscription.present = PresentIn(subscription.projects);
    subscription.lastRequest = Clock::now();
    auto id = OV::Guid::Generate().ToText();
    subscriptions_.emplace(OV::ToUtf8(id), std::move(subscription));
    return id;
}

void MessagingService::WaitForChange(const Call& call, const Reply& reply)
{
    const auto id = call.QueryText("subscription");
    const auto after = call.QueryNumber("after", 0);
    const auto wait = std::min(call.QueryNumber("wait", 0), LongestPresenceWaitMilliseconds);
    auto& subscription = FindSubscription(id);
    if (after != subscription.number || wait == 0 || stopping_)
        reply(AnswerOf(subscription));
    else
        Hold(id, reply, std::chrono::milliseconds(wait));
}

void MessagingService::Hold(const std::string& id, const Reply& reply,
                            std::chrono::milliseconds wait)
{
    const auto waiter = std::make_shared<Waiter>(Waiter{reply, {}});
    const std::weak_ptr weak(waiter);
    waiter->timer = server_.After(wait, [this, id, weak] { AnswerLate(id, weak.lock()); });
    subscriptions_.at(id).waiters.push_back(waiter);
    reply.WhenGone([this, id, weak] { Forget(id, weak.lock()); });
}

void MessagingService::AnswerLate(const std::string& id, const std::shared_ptr<Waiter>& waiter)
{
    Forget(id, waiter);
    waiter->reply(AnswerOf(subscriptions_.at(id)));
}

void MessagingService::Forget(const std::string& id, const std::shared_ptr<Waiter>& waiter)
{
    if (const auto found = subscriptions_.find(id); found != subscriptions_.end())
        std::erase(found->second.waiters, waiter);
}

MessagingService::Subscription& MessagingService::FindSubscription(const std::string& id)
{
    const auto found = subscriptions_.find(id);
    if (found == subscriptions_.end() || HasEnded(found->second))
        throw Refusal(ErrorCode::NotFound,
                      "There is no such subscription any more. Make a new one.");
    return found->second;
}

bool MessagingService::HasEnded(const Subscription& subscription)
{
    return subscription.waiters.empty() &&
           Clock::now() - subscription.lastRequest > SubscriptionLife;
}

void MessagingService::RequireRoom(const std::string& owner)
{
    const auto countOf = [&] {
        return static_cast<std::size_t>(
            std::count_if(subscriptions_.begin(), subscriptions_.end(),
                          [&](const auto& entry) { return entry.second.owner == owner; }));
    };
    const auto isFull = [&] {
        return subscriptions_.size() >= MaximumSubscriptions ||
               countOf() >= limits_.subscriptionsOfUser;
    };
    if (!isFull())
        return;
    std::erase_if(subscriptions_, [](const auto& entry) { return HasEnded(entry.second); });
    if (isFull())
        throw Refusal(ErrorCode::TooManyRequests,
                      "There are as many subscriptions as may be. Try again when some have ended.")
            .With("Retry-After", std::to_string(SubscriptionLife.count()));
}

void MessagingService::Update(const std::string& projectId)
{
    for (auto& [id, subscription] : subscriptions_) {
        if (!subscription.projects.contains(projectId))
            continue;
        auto present = PresentIn(subscription.projects);
        if (present == subscription.present)
            continue;
        subscription.present = std::move(present);
        ++subscription.number;
        Release(subscription);
    }
}

std::set<std::string> MessagingService::PresentIn(const std::set<std::string>& projects) const
{
    std::set<std::string> logins;
    for (const auto& projectId : projects)
        board_.Collect(projectId, logins);
    return logins;
}

void MessagingService::ReleaseAll()
{
    stopping_ = true;
    for (auto& [id, subscription] : subscriptions_)
        Release(subscription);
}

void MessagingService::Release(Subscription& subscription)
{
    for (const auto& waiter : std::exchange(subscription.waiters, {}))
        waiter->reply(AnswerOf(subscription));
}

HttpResponse MessagingService::AnswerOf(Subscription& subscription)
{
    subscription.lastRequest = Clock::now();
    PresentUsers users;
    for (const auto& login : subscription.present)
        users.present.insert(OV::FromUtf8(login));
    users.next = subscription.number;
    return JsonResponse(users);
}

}  // namespace Nexar
