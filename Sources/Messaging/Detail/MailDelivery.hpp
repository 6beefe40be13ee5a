#pragma once

#include "Messaging/Detail/ActionResultTarget.hpp"
#include "Messaging/Detail/MailRequest.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "Messaging/Outbox.hpp"
#include "Messaging/OutboxStatus.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/Backoff.hpp"
#include "SYClientBase/PresenceService.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <optional>

namespace SYC {

/// Delivers the mails of the outbox while the project is online: one after the other, in one send
/// task at a time, on a thread of its own. While the server is busy the task tries again after
/// growing pauses. Knows who waits for which mail. Safe on any thread but where a method tells
/// otherwise.
class MailDelivery {
public:
    /// Takes the id by which the server knows a mail now.
    using TakeServerId =
        std::function<void(const OV::UniString& localId, const OV::UniString& serverId)>;

    /// Reads "Outbox.dat" in `folder`; throws IO::IOException. What is given outlives it. `client`
    /// hears of every attempt, before the one who waits for the mail does; `takeServerId` is called
    /// where it is told, before that.
    MailDelivery(OpenedProject& project, const SYCB::PresenceService& presence,
                 MailClientActionResultObserverOverExecutor& client, const IO::Location& folder,
                 TakeServerId takeServerId);
    MailDelivery(const MailDelivery&) = delete;
    MailDelivery& operator=(const MailDelivery&) = delete;

    /// The mails that wait.
    [[nodiscard]] Outbox& GetOutbox() noexcept { return outbox_; }

    /// Puts the mail, complete but for its sending, into the outbox and begins to deliver. `mail`
    /// is safe on the disk when this returns; IO::IOException otherwise, and it is not in the
    /// outbox. `observer` may be null; it is told of each attempt, and when another process took
    /// the mail. On the client's own thread.
    void Deliver(const ClientMail& mail, MailClientActionResultObserver* observer);
    /// Takes mails out of the outbox; nobody is told of them any more. Throws IO::IOException; then
    /// nothing changed. On the client's own thread.
    void Withdraw(const OV::Array<OV::UniString>& ids);

    /// Begins to deliver what the outbox holds, unless that is under way.
    void Start() noexcept;
    [[nodiscard]] bool IsSending() const;
    /// Of a mail of the outbox.
    [[nodiscard]] OutboxStatus GetStatus(const ClientMail& mail) const;
    /// Has the outbox's observers told that states changed, soon and once for many changes.
    void TellStatus();
    /// From now on nothing begins any more; what is under way goes on.
    void Close();
    /// Interrupts what is under way. The destructor waits for its end.
    void Cancel() { worker_.Cancel(); }

private:
    /// Who sent a mail of the outbox from here.
    struct Sender {
        ActionResultTarget target;
        ClientMail mail;
        /// Nobody misses a mail that is still on its way into the outbox, or on its way out.
        bool isInOutbox = false;
    };

    void MissWhenTaken(const OV::Array<OV::UniString>& ids, bool isMissed);
    void ForgetSenders(const OV::Array<OV::UniString>& ids);
    [[nodiscard]] bool ProcessSendTask();
    void GiveUpSending();

    // On the worker's thread.
    void SendOutbox();
    [[nodiscard]] bool AwaitRetry();
    [[nodiscard]] bool SendOnce(OV::HashSet<OV::UniString>& passed);
    [[nodiscard]] MailOutcome SendWhileOnline(OV::HashSet<OV::UniString>& passed);
    [[nodiscard]] MailOutcome SendOne(Syncra::Client::SyncraClient& client, ClientMail& mail);
    void NoteSending(const OV::UniString& id);
    void NoteOutcome(const OV::UniString& id, const MailOutcome& outcome);
    void ReportSent(const ClientMail& mail, int result);
    void ReportTaken();
    [[nodiscard]] bool SendTaskFinished();

    OpenedProject& project_;
    const SYCB::PresenceService& presence_;
    MailClientActionResultObserverOverExecutor& client_;
    const TakeServerId takeServerId_;
    Outbox outbox_;

    mutable OV::Lock lock_;
    bool isSending_ OV_GUARDED_BY(lock_) = false;
    /// Something happened since the send task looked last.
    bool isSendWanted_ OV_GUARDED_BY(lock_) = false;
    bool isClosed_ OV_GUARDED_BY(lock_) = false;
    /// One of them became true.
    std::condition_variable_any retryChanged_;
    SYCB::Backoff retryPauses_;  ///< of the worker's thread
    OV::HashTable<OV::UniString, Sender> senders_ OV_GUARDED_BY(lock_);
    // What is told of the mails.
    OV::UniString sendingId_ OV_GUARDED_BY(lock_);
    std::optional<std::chrono::steady_clock::time_point> nextTry_ OV_GUARDED_BY(lock_);
    /// Of the last attempt that met more than one mail.
    Failure failure_ OV_GUARDED_BY(lock_);
    OV::HashTable<OV::UniString, Failure> refusals_ OV_GUARDED_BY(lock_);
    std::atomic<bool> isStatusToTell_ = false;

    OV::PooledExecutor worker_;
};

}  // namespace SYC
