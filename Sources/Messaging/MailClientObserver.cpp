#include "Messaging/MailClientObserver.hpp"

#include "Messaging/MailClient.hpp"

namespace SYC {

namespace {

/// The client may have gone as well by the time the observer is told.
template <class Tell>
void PostAbout(MailClient& client, const OverExecutor::Target& observer, Tell tell)
{
    observer.Post([&client, identity = client.GetIdentity(), tell = std::move(tell)] {
        if (SYCB::Identified::InstanceExist(identity))
            tell(client);
    });
}

}  // namespace

void MailClientObserverOverExecutor::MailListChanged(MailClient& client)
{
    PostAbout(client, GetTarget(), [this](MailClient& source) { _MailListChanged(source); });
}

void MailClientObserverOverExecutor::NewMailExists(MailClient& client, OV::Ref<MailList> newMails,
                                                   RefreshMailListReason::Value reason)
{
    PostAbout(client, GetTarget(), [this, newMails, reason](MailClient& source) {
        _NewMailExists(source, newMails, reason);
    });
}

void MailClientObserverOverExecutor::MailsChanged(MailClient& client, const MailChanges& changes)
{
    PostAbout(client, GetTarget(),
              [this, changes](MailClient& source) { _MailsChanged(source, changes); });
}

void MailClientObserverOverExecutor::MailDelivered(MailClient& client, const OV::UniString& localId,
                                                   const OV::UniString& serverId)
{
    PostAbout(client, GetTarget(), [this, localId, serverId](MailClient& source) {
        _MailDelivered(source, localId, serverId);
    });
}

}  // namespace SYC
