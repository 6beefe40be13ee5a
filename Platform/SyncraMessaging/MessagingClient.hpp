#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <memory>

namespace Syncra::Client::Detail {
class JsonRequests;
}

namespace Syncra::Messaging {

/// Follows who is present on a server. Every call is a request and blocks for its answer; one
/// thread at a time, except Cancel. How long it takes, how it is ended and its failures are those
/// of Syncra::Client::SyncraClient; ReceivePresence also waits for its time-out.
class SYC_API MessagingClient {
public:
    /// Login names.
    using PresenceIds = OV::HashSet<OV::UniString>;

    /// Signs in to the messaging service; throws as Syncra::Client::Connect.
    explicit MessagingClient(
        const Client::SignInData& data,
        const Communication::HttpOptions& options = Communication::DefaultHttpOptions());
    ~MessagingClient();
    MessagingClient(const MessagingClient&) = delete;
    MessagingClient& operator=(const MessagingClient&) = delete;

    /// How long ReceivePresence waits for a change, in milliseconds; at most 60000.
    void SetReceiveTimeout(std::uint32_t milliseconds);
    /// From here on ReceivePresence tells of the users of these projects. Projects that the server
    /// does not know are passed over.
    void SubscribeToReceivePresence(const OV::Array<OV::UniString>& projectIds);
    /// Everybody who is present: at once the first time, later when that changes or the time-out is
    /// over. Throws OV::IllegalArgumentException without a subscription.
    [[nodiscard]] PresenceIds ReceivePresence();

    /// Ends the request under way and every later one. Safe on any thread.
    void Cancel();

private:
    std::unique_ptr<Client::Detail::JsonRequests> requests_;
    std::uint32_t receiveTimeout_;
    OV::UniString subscription_;
    std::uint64_t after_ = 0;
};

}  // namespace Syncra::Messaging
