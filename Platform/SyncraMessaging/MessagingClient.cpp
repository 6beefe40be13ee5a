#include "SyncraMessaging/MessagingClient.hpp"

#include "SyncraClient/Detail/JsonRequests.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <algorithm>

namespace Syncra::Messaging {

namespace {

constexpr std::uint32_t LongestReceiveMilliseconds = 60'000;

}  // namespace

using Client::Detail::MakePath;

MessagingClient::MessagingClient(const Client::SignInData& data,
                                 const Communication::HttpOptions& options)
    : requests_(std::make_unique<Client::Detail::JsonRequests>(data, options)),
      receiveTimeout_(LongestReceiveMilliseconds)
{}

MessagingClient::~MessagingClient() = default;

void MessagingClient::SetReceiveTimeout(std::uint32_t milliseconds)
{
    receiveTimeout_ = std::min(milliseconds, LongestReceiveMilliseconds);
}

void MessagingClient::SubscribeToReceivePresence(const OV::Array<OV::UniString>& projectIds)
{
    subscription_ = requests_
                        ->Post<Protocol::PresenceSubscription>(
                            "/presence/subscriptions", Protocol::PresenceProjects{projectIds})
                        .value;
    after_ = 0;
}

MessagingClient::PresenceIds MessagingClient::ReceivePresence()
{
    if (subscription_.empty())
        throw OV::IllegalArgumentException("Presence is received after a subscription alone.");
    auto users = requests_->GetHeld<Protocol::PresentUsers>(
        MakePath("/presence?subscription={}&after={}&wait={}",
                 {subscription_, after_, receiveTimeout_}),
        receiveTimeout_);
    after_ = users.next;
    return std::move(users.present);
}

void MessagingClient::Cancel()
{
    requests_->Cancel();
}

}  // namespace Syncra::Messaging
