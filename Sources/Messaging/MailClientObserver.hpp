#pragma once

#include "Messaging/MailChanges.hpp"
#include "Messaging/OverExecutor.hpp"
#include "Messaging/RefreshMailListReason.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

class MailClient;

/// Told on the mail client's own executor.
class SYC_API MailClientObserver : public OV::ObserverBase {
public:
    /// Mails in shared ownership.
    using MailList = OV::Array<OV::Ref<ClientMail>>;

    virtual ~MailClientObserver() = default;
    /// Mails were marked or deleted.
    virtual void MailListChanged(MailClient& client) = 0;
    /// A refresh is done. `newMails` are those that came with it, or since the last one by another
    /// process, oldest first; there may be none.
    virtual void NewMailExists(MailClient& client, OV::Ref<MailList> newMails,
                               RefreshMailListReason::Value reason) = 0;
    /// What became of the list; told before either of the two above tells of it.
    virtual void MailsChanged(MailClient& /*client*/, const MailChanges& /*changes*/) {}
    /// The server has a mail of the outbox, whichever run of the host put it there: `localId` is
    /// the one that SendMail gave it, `serverId` the one of its copy and in the parent id of
    /// answers. Its copy may be told of before or after that; a process that was killed before it
    /// wrote the outbox tells the same pair again in its next run.
    virtual void MailDelivered(MailClient& /*client*/, const OV::UniString& /*localId*/,
                               const OV::UniString& /*serverId*/)
    {}
    /// A refresh failed; `problem` tells why, for people. It is tried again after a pause while the
    /// project is online, and when it comes online; not when the server refuses the user.
    virtual void RefreshMailsFailed(MailClient& /*client*/, const OV::UniString& /*problem*/) {}
    /// "Mails.dat" could not be written in the background; `problem` tells why, for people. The
    /// next change that is worth it, MailClient::WriteToDisc or the client's end tries again.
    virtual void MailsNotWritten(MailClient& /*client*/, const OV::UniString& /*problem*/) {}
};

/// The same, told on an executor of the observer's choice.
class SYC_API MailClientObserverOverExecutor : public MailClientObserver, public OverExecutor {
public:
    /// See OverExecutor; null: nothing is told.
    explicit MailClientObserverOverExecutor(OV::Executor* executor) : OverExecutor(executor) {}
    ~MailClientObserverOverExecutor() override { ToDestroy(); }

    void MailListChanged(MailClient& client) final;
    void NewMailExists(MailClient& client, OV::Ref<MailList> newMails,
                       RefreshMailListReason::Value reason) final;
    void MailsChanged(MailClient& client, const MailChanges& changes) final;
    void MailDelivered(MailClient& client, const OV::UniString& localId,
                       const OV::UniString& serverId) final;

protected:
    /// As the functions above, on that executor.
    /// @{
    virtual void _MailListChanged(MailClient& client) = 0;
    virtual void _NewMailExists(MailClient& client, OV::Ref<MailList> newMails,
                                RefreshMailListReason::Value reason) = 0;
    virtual void _MailsChanged(MailClient& /*client*/, const MailChanges& /*changes*/) {}
    virtual void _MailDelivered(MailClient& /*client*/, const OV::UniString& /*localId*/,
                                const OV::UniString& /*serverId*/)
    {}
    /// @}
};

}  // namespace SYC
