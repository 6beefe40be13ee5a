#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <memory>

namespace Syncra::Messaging {

/// Follows who is present on a server. Every call is a request and blocks for its answer; one
/// thread at a time, except Cancel. Failures are those of Syncra::Client::SyncraClient.
class MessagingClient {
public:
    using PresenceIds = OV::HashSet<OV::UniString>;

    virtual ~MessagingClient() = default;

    /// How long ReceivePresence waits for a change, in milliseconds; at most 60000.
    virtual void SetReceiveTimeout(std::uint32_t milliseconds) = 0;
    /// From here on ReceivePresence tells of the users of these projects. Projects that the server
    /// does not know are passed over.
    virtual void SubscribeToReceivePresence(const OV::Array<OV::UniString>& projectIds) = 0;
    /// Everybody who is present: at once the first time, later when that changes or the time-out is
    /// over. Throws OV::IllegalArgumentException without a subscription.
    [[nodiscard]] virtual PresenceIds ReceivePresence() = 0;

    /// Ends the request under way and every later one. Safe on any thread.
    virtual void Cancel() = 0;
};

/// Signs in to the messaging service; throws as Syncra::Client::Connect.
[[nodiscard]] std::unique_ptr<MessagingClient>
Connect(const Client::SignInData& data,
        const Communication::HttpOptions& options = Communication::DefaultHttpOptions());

}  // namespace Syncra::Messaging
