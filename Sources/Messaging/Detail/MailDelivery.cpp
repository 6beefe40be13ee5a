#include "Messaging/Detail/MailDelivery.hpp"

#include "Messaging/Detail/MailRequest.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <optional>
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

}  // namespace

MailDelivery::MailDelivery(OpenedProject& project, const SYCB::PresenceService& presence,
                           MailClientActionResultObserverOverExecutor& client,
                           const IO::Location& folder)
    : project_(project), presence_(presence), client_(client), outbox_(folder),
      worker_(1, 1, MailWorkerMilliseconds)
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
    for (const auto& id : ids)
        senders_.erase(id);
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
}

bool MailDelivery::ProcessSendTask()
{
    const OV::LockGuard guard(lock_);
    if (isClosed_)
        return false;
    isSendWanted_ = isSending_;
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
    do {
        try {
            SendOnce(passed);
        } catch (...) {
            LogFailure(u"Sending the outbox");
        }
        // Whatever came between the last look at the outbox and here is seen by one of the two:
        // this task, or the one that the newcomer starts.
    } while (!worker_.IsCanceled() && !SendTaskFinished());
}

void MailDelivery::SendOnce(OV::HashSet<OV::UniString>& passed)
{
    const int result =
        ResultOf(u"Reaching the server for the outbox", [&] { SendWhileOnline(passed); });
    if (result != MailResult::Succeeded)
        if (const auto first = outbox_.First(passed))
            ReportSent(*first, result);
    outbox_.Save();
    ReportTaken();
}

void MailDelivery::SendWhileOnline(OV::HashSet<OV::UniString>& passed)
{
    // Last of all the presence: the outbox may be written meanwhile, and take its time.
    const auto next = [&] {
        auto first = outbox_.First(passed);
        return presence_.IsOnline() ? first : OV::Ref<ClientMail>();
    };
    if (!next())
        return;
    project_.Ask([&](Syncra::Client::SyncraClient& client) {
        while (const auto first = next()) {
            ClientMail mail = *first;
            const int result = SendOne(client, mail);
            if (result == MailResult::Succeeded)
                outbox_.Delivered(mail.GetId());
            ReportSent(mail, result);
            if (IsRefusalOfMail(result))
                passed.insert(mail.GetId());
            else if (result != MailResult::Succeeded)
                return;
        }
    });
}

int MailDelivery::SendOne(Syncra::Client::SyncraClient& client, ClientMail& mail)
{
    Syncra::Protocol::Message message;
    if (mail.SyncraMessageConvertFrom(message) != OV::ChannelOk)
        return MailResult::NotConverted;
    return ResultOf(u"Sending a mail", [&] {
        (void)client.SendMail(project_.GetProjectId(), mail.GetRecipientsLoginName(), message,
                              mail.GetId());
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
