#include "Messaging/Detail/MailDelivery.hpp"

#include "OVRoot/Thread.hpp"
#include "SYCommunication/ServerTrust.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <utility>

namespace SYC {

namespace {

MailClientActionResultObserver::NameList RecipientsOf(const ClientMail& mail)
{
    const auto& names = mail.GetRecipientsLoginName();
    return {names.begin(), names.end()};
}

/// The server looked at this one mail and does not want it; another one may pass. Every other
/// refusal is one of the user, the project or the client, and would meet the next mail as well.
bool IsRefusalOfMail(int result)
{
    using Syncra::Protocol::ErrorCode;
    return result == MailResult::NotConverted ||
           result == static_cast<int>(ErrorCode::BadRequest) ||
           result == static_cast<int>(ErrorCode::TooLarge) ||
           result == static_cast<int>(ErrorCode::NotFound);
}

/// The server is busy or out of reach, say: neither the user nor his mail has anything to mend.
bool MayPassByItself(int result)
{
    using Syncra::Protocol::ErrorCode;
    return result == MailResult::NotReached ||
           result == static_cast<int>(ErrorCode::InternalError) ||
           result == static_cast<int>(ErrorCode::ProjectUnavailable) ||
           result == static_cast<int>(ErrorCode::StoreUnavailable) ||
           result == static_cast<int>(ErrorCode::TooManyRequests);
}

}  // namespace

MailDelivery::MailDelivery(OpenedProject& project, const SYCB::PresenceService& presence,
                           MailClientActionResultObserverOverExecutor& client,
                           const IO::Location& folder, TakeServerId takeServerId)
    : project_(project), presence_(presence), client_(client),
      takeServerId_(std::move(takeServerId)), outbox_(folder), worker_(1, 1, MailWorkerMilliseconds)
{}

void MailDelivery::Deliver(const ClientMail& mail, MailClientActionResultObserver* observer)
{
    {
        const OV::LockGuard guard(lock_);
        senders_.emplace(mail.GetId(),
                         Sender{ActionResultTarget(observer, client_.GetTarget()), mail});
    }
    try {
        outbox_.Add(OV::MakeRef<ClientMail>(mail));
    } catch (...) {
        ForgetSenders({mail.GetId()});
        throw;
    }
    MissWhenTaken({mail.GetId()}, true);
    Start();
    outbox_.TellObservers();
}

void MailDelivery::Withdraw(const OV::Array<OV::UniString>& ids)
{
    MissWhenTaken(ids, false);
    try {
        outbox_.Remove(ids);
    } catch (...) {
        MissWhenTaken(ids, true);
        throw;
    }
    ForgetSenders(ids);
    outbox_.TellObservers();
}

/// Whether others who take those mails out of the outbox are told of to their senders.
void MailDelivery::MissWhenTaken(const OV::Array<OV::UniString>& ids, bool isMissed)
{
    const OV::LockGuard guard(lock_);
    for (const auto& id : ids)
        if (const auto sender = senders_.find(id); sender != senders_.end())
            sender->second.isInOutbox = isMissed;
}

void MailDelivery::ForgetSenders(const OV::Array<OV::UniString>& ids)
{
    const OV::LockGuard guard(lock_);
    for (const auto& id : ids) {
        senders_.erase(id);
        refusals_.erase(id);
    }
}

/// The mails are in the outbox whatever becomes of this attempt to deliver them.
void MailDelivery::Start() noexcept
{
    if (worker_.IsShutdown() || !ProcessSendTask())
        return;
    bool isStarted = false;
    try {
        isStarted = worker_.Execute(OV::MakeTask([this] { SendOutbox(); }));
    } catch (...) {
        LogFailure(u"Sending the outbox");
    }
    if (!isStarted)
        GiveUpSending();
}

bool MailDelivery::IsSending() const
{
    const OV::LockGuard guard(lock_);
    return isSending_;
}

void MailDelivery::Close()
{
    const OV::LockGuard guard(lock_);
    isClosed_ = true;
    retryChanged_.notify_all();
}

bool MailDelivery::ProcessSendTask()
{
    const OV::LockGuard guard(lock_);
    if (isClosed_)
        return false;
    isSendWanted_ = isSending_;
    retryChanged_.notify_all();
    return !std::exchange(isSending_, true);
}

bool MailDelivery::SendTaskFinished()
{
    const OV::LockGuard guard(lock_);
    isSending_ = std::exchange(isSendWanted_, false);
    return !isSending_;
}

void MailDelivery::GiveUpSending()
{
    const OV::LockGuard guard(lock_);
    isSending_ = false;
    isSendWanted_ = false;
}

void MailDelivery::SendOutbox()
{
    OV::HashSet<OV::UniString> passed;
    // Nobody asked for the attempts behind the first.
    std::optional<Communication::ServerTrust::WithoutQuestion> quiet;
    for (;;) {
        bool mayPass = false;
        try {
            mayPass = SendOnce(passed);
        } catch (...) {
            LogFailure(u"Sending the outbox");
        }
        if (worker_.IsCanceled())
            return;
        // Whatever came between the last look at the outbox and here is seen by one of the two:
        // this task, or the one that the newcomer starts.
        if (!SendTaskFinished())
            continue;
        if (!mayPass || !AwaitRetry())
            return;
        quiet.emplace();
    }
}

/// Whether this task is to try again, its pause being over. It is not when another one was started
/// meanwhile, which waits for its end. The analysis does not follow a lock into the condition
/// variable.
bool MailDelivery::AwaitRetry() OV_NO_ANALYSIS
{
    if (!presence_.IsOnline())
        return false;  // coming back starts a task
    const auto next = std::chrono::steady_clock::now() +
                      std::chrono::milliseconds(retryPauses_.NextMilliseconds());
    {
        const OV::LockGuard guard(lock_);
        nextTry_ = next;
    }
    TellStatus();
    const auto token = OV::Thread::CurrentToken();
    std::unique_lock guard(lock_);
    const bool isOvertaken = retryChanged_.wait_until(
        guard, token, next, [this]() OV_NO_ANALYSIS { return isSending_ || isClosed_; });
    nextTry_.reset();
    if (isOvertaken || token.stop_requested())
        return false;
    isSending_ = true;
    return true;
}

/// Whether another attempt may go better without anybody's help.
bool MailDelivery::SendOnce(OV::HashSet<OV::UniString>& passed)
{
    MailOutcome ofMail;
    const auto outcome =
        OutcomeOf(u"Reaching the server for the outbox", [&] { ofMail = SendWhileOnline(passed); });
    if (outcome.result != MailResult::Succeeded)
        if (const auto first = outbox_.First(passed)) {
            NoteOutcome(first->GetId(), outcome);
            ReportSent(*first, outcome.result);
        }
    outbox_.Save();
    ReportTaken();
    return MayPassByItself(outcome.result) || MayPassByItself(ofMail.result);
}

/// The outcome of the mail that ended it.
MailOutcome MailDelivery::SendWhileOnline(OV::HashSet<OV::UniString>& passed)
{
    // Last of all the presence: the outbox may be written meanwhile, and take its time.
    const auto next = [&] {
        auto first = outbox_.First(passed);
        return presence_.IsOnline() ? first : OV::Ref<ClientMail>();
    };
    MailOutcome outcome;
    if (!next())
        return outcome;
    project_.Ask([&](Syncra::Client::SyncraClient& client) {
        while (const auto first = next()) {
            ClientMail mail = *first;
            NoteSending(mail.GetId());
            outcome = SendOne(client, mail);
            NoteOutcome(mail.GetId(), outcome);
            if (outcome.result == MailResult::Succeeded) {
                outbox_.Delivered(mail.GetId());
                retryPauses_.Reset();
            }
            ReportSent(mail, outcome.result);
            if (IsRefusalOfMail(outcome.result))
                passed.insert(mail.GetId());
            else if (outcome.result != MailResult::Succeeded)
                return;
        }
    });
    return outcome;
}

void MailDelivery::NoteSending(const OV::UniString& id)
{
    {
        const OV::LockGuard guard(lock_);
        sendingId_ = id;
    }
    TellStatus();
}

void MailDelivery::NoteOutcome(const OV::UniString& id, const MailOutcome& outcome)
{
    {
        const OV::LockGuard guard(lock_);
        sendingId_.clear();
        refusals_.erase(id);
        if (IsRefusalOfMail(outcome.result))
            refusals_.emplace(id, outcome.failure);
        else
            failure_ = outcome.failure;
    }
    TellStatus();
}

OutboxStatus MailDelivery::GetStatus(const ClientMail& mail) const
{
    if (mail.HasUnknownActions())
        return {OutboxReason::UnknownActions, {}, {}};
    const OV::LockGuard guard(lock_);
    if (sendingId_ == mail.GetId())
        return {OutboxReason::Sending, {}, {}};
    if (const auto refusal = refusals_.find(mail.GetId()); refusal != refusals_.end())
        return {OutboxReason::Refused, refusal->second, {}};
    if (!presence_.IsOnline())
        return {presence_.IsHeldOffline() ? OutboxReason::WorkingOffline : OutboxReason::Offline,
                {},
                {}};
    if (nextTry_)
        return {OutboxReason::TriedAgain, failure_, nextTry_};
    if (failure_ && !isSending_)
        return {OutboxReason::Refused, failure_, {}};
    return {OutboxReason::Queued, {}, {}};
}

void MailDelivery::TellStatus()
{
    if (isStatusToTell_.exchange(true))
        return;
    const bool isPosted = client_.GetTarget().Post([this] {
        isStatusToTell_ = false;
        outbox_.TellStatusObservers();
    });
    if (!isPosted)
        isStatusToTell_ = false;
}

MailOutcome MailDelivery::SendOne(Syncra::Client::SyncraClient& client, ClientMail& mail)
{
    Syncra::Protocol::Message message;
    if (mail.SyncraMessageConvertFrom(message) != OV::ChannelOk)
        return {MailResult::NotConverted, MakeFailure(FailureKind::WrongInput)};
    return OutcomeOf(u"Sending a mail", [&] {
        const auto serverId = client.SendMail(project_.GetProjectId(),
                                              mail.GetRecipientsLoginName(), message, mail.GetId());
        (void)client_.GetTarget().Post(
            [this, localId = mail.GetId(), serverId] { takeServerId_(localId, serverId); });
    });
}

void MailDelivery::ReportSent(const ClientMail& mail, int result)
{
    const auto recipients = RecipientsOf(mail);
    client_.SendMailCompleted(mail, recipients, result);
    std::optional<ActionResultTarget> sender;
    {
        const OV::LockGuard guard(lock_);
        const auto found = senders_.find(mail.GetId());
        if (found != senders_.end())
            sender = found->second.target;
        if (found != senders_.end() && result == MailResult::Succeeded)
            senders_.erase(found);
    }
    if (sender)
        sender->SendMailCompleted(mail, recipients, result);
}

/// Whoever waits for a mail that has left the outbox by another process's hand waits no longer.
void MailDelivery::ReportTaken()
{
    OV::HashSet<OV::UniString> missing;
    {
        const OV::LockGuard guard(lock_);
        for (const auto& [id, sender] : senders_)
            if (sender.isInOutbox)
                missing.insert(id);
    }
    // In this order: a mail that comes meanwhile is missed by nobody.
    for (const auto& mail : outbox_.GetMails())
        missing.erase(mail->GetId());
    OV::Array<Sender> senders;
    {
        const OV::LockGuard guard(lock_);
        for (const auto& id : missing)
            if (const auto found = senders_.find(id);
                found != senders_.end() && found->second.isInOutbox) {
                senders.push_back(std::move(found->second));
                senders_.erase(found);
            }
    }
    for (const auto& sender : senders)
        sender.target.SendMailCompleted(sender.mail, RecipientsOf(sender.mail),
                                        MailResult::TakenByOther);
}

}  // namespace SYC
