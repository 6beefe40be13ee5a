#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
namespace SYC {

/// Hears of the mails that wait for delivery.
class SYC_API OutboxObserver : public OV::ObserverBase {
public:
    virtual ~OutboxObserver() = default;
    /// Mails came into the outbox or left it. Told on the mail client's own executor.
    virtual void OutboxChanged() = 0;
    /// What MailClient::GetOutboxStatus tells of its mails became something else.
    virtual void OutboxStatusChanged() {}
};

}  // namespace SYC
