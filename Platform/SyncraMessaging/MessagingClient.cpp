#include "SyncraMessaging/MessagingClient.hpp"

#include "OVRoot/PercentCoding.hpp"
#include "SyncraClient/Detail/SignedInChannel.hpp"

#include <algorithm>

namespace Syncra::Messaging {

namespace {

using Communication::HttpMethod;
using Communication::HttpRequest;

constexpr std::uint32_t LongestReceiveMilliseconds = 60'000;

class HttpMessagingClient final : public MessagingClient {
public:
    HttpMessagingClient(const Client::SignInData& data, const Communication::HttpOptions& options)
        : channel_(data, options), requestTimeout_(options.requestTimeoutMilliseconds)
    {}

    void SetReceiveTimeout(std::uint32_t milliseconds) override
    {
        receiveTimeout_ = std::min(milliseconds, LongestReceiveMilliseconds);
    }

    void SubscribeToReceivePresence(const OV::Array<OV::UniString>& projectIds) override
    {
        HttpRequest request;
        request.method = HttpMethod::Post;
        request.target = "/syncra/v1/presence/subscriptions";
        request.body = Protocol::DumpJson({{"projects", Protocol::TextsToJson(projectIds)}});
        subscription_ = channel_.Ask(std::move(request), [](const nlohmann::json& answer) {
            return Protocol::ReadText(answer, "subscription");
        });
        after_ = 0;
    }

    PresenceIds ReceivePresence() override
    {
        if (subscription_.empty())
            throw OV::IllegalArgumentException(
                OV::UniString(u"Presence is received after a subscription alone."));
        HttpRequest request;
        request.target = "/syncra/v1/presence?subscription=" +
                         OV::PercentEncode(OV::ToUtf8(OV::EscapeForCarrier(subscription_))) +
                         "&after=" + std::to_string(after_) +
                         "&wait=" + std::to_string(receiveTimeout_);
        request.timeoutMilliseconds = receiveTimeout_ + requestTimeout_;
        return channel_.Ask(std::move(request), [this](const nlohmann::json& answer) {
            auto present = Protocol::ReadTexts(answer, "present");
            after_ = Protocol::ReadSequence(answer, "next");
            return PresenceIds(std::make_move_iterator(present.begin()),
                               std::make_move_iterator(present.end()));
        });
    }

    void Cancel() override { channel_.Cancel(); }

private:
    Client::Detail::SignedInChannel channel_;
    std::uint32_t requestTimeout_;
    std::uint32_t receiveTimeout_ = LongestReceiveMilliseconds;
    OV::UniString subscription_;
    std::uint64_t after_ = 0;
};

}  // namespace

std::unique_ptr<MessagingClient> Connect(const Client::SignInData& data,
                                         const Communication::HttpOptions& options)
{
    return std::make_unique<HttpMessagingClient>(data, options);
}

}  // namespace Syncra::Messaging
