#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "Messaging/MailConversionException.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <new>
#include <optional>

/// The work of the mail client on its worker threads.
namespace SYC {

namespace {

using Syncra::Client::SyncraClient;
using Syncra::Protocol::Message;

/// Empty for a message that is no mail: it is dropped, since nobody could do anything about it.
OV::Ref<ClientMail> ToMail(const Message& message)
{
    try {
        if (!ClientMail::IsCurrentFormat(message))
            return OV::MakeRef<ClientMail>(message);
        auto mail = OV::MakeRef<ClientMail>();
        const auto status = mail->SyncraMessageConvertTo(message);
        if (mail->HasUnknownActions())
            OV::Logger::Info("SYClient",
                             u"SYC::MailClient: mail % carries actions that this program does not "
                             u"know; it is shown without them",
                             {message.mailId});
        if (status == OV::ChannelOk || mail->HasUnknownActions())
            return mail;
        OV::Logger::Warning("SYClient", u"SYC::MailClient: mail % is dropped: status %",
                            {message.mailId, status});
    } catch (const std::bad_alloc&) {
        throw;  // no fault of the mail
    } catch (...) {
        OV::Logger::Warning("SYClient", u"SYC::MailClient: mail % is dropped: %",
                            {message.mailId, OV::DescribeCurrentException()});
    }
    return {};
}

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

void LogFailure(OV::UniStringView what) noexcept
{
    OV::LogCurrentException("SYClient", u"SYC::MailClient: % failed: %", what);
}

MailClient::Refreshed MailClient::FetchMails(std::int32_t sinceTime, FlagChanges known)
{
    Refreshed refreshed;
    refreshed.changes = known;
    project_->Ask([&](SyncraClient& client) {
        const auto& projectId = project_->GetProjectId();
        OV::PagedArray<Message> messages;
        client.GetMails(projectId, sinceTime, messages);
        // Each message goes as its mail comes, so that a large box is not held twice.
        for (Message& each : messages) {
            const Message message = std::move(each);
            if (auto mail = ToMail(message))
                refreshed.mails.push_back(std::move(mail));
        }
        refreshed.read = client.GetMailStatus(projectId, refreshed.changes.read);
        refreshed.historical = client.GetMailHistorical(projectId, refreshed.changes.historical);
    });
    return refreshed;
}

bool MailClient::ProcessSendTask()
{
    const OV::LockGuard guard(sendLock_);
    isSendWanted_ = isSending_;
    return !std::exchange(isSending_, true);
}

bool MailClient::SendTaskFinished()
{
    const OV::LockGuard guard(sendLock_);
    isSending_ = std::exchange(isSendWanted_, false);
    return !isSending_;
}

void MailClient::GiveUpSending()
{
    const OV::LockGuard guard(sendLock_);
    isSending_ = false;
    isSendWanted_ = false;
}

void MailClient::SendOutbox()
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

void MailClient::SendOnce(OV::HashSet<OV::UniString>& passed)
{
    const int result =
        ResultOf(u"Reaching the server for the outbox", [&] { SendWhileOnline(passed); });
    if (result != MailResult::Succeeded)
        if (const auto first = outbox_.First(passed))
            ReportSent(*first, result);
    outbox_.Save();
    ReportTaken();
}

void MailClient::SendWhileOnline(OV::HashSet<OV::UniString>& passed)
{
    // Last of all the presence: the outbox may be written meanwhile, and take its time.
    const auto next = [&] {
        auto first = outbox_.First(passed);
        return IsOnline() ? first : OV::Ref<ClientMail>();
    };
    if (!next())
        return;
    project_->Ask([&](SyncraClient& client) {
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

int MailClient::SendOne(SyncraClient& client, ClientMail& mail)
{
    Message message;
    if (mail.SyncraMessageConvertFrom(message) != OV::ChannelOk)
        return MailResult::NotConverted;
    return ResultOf(u"Sending a mail", [&] {
        (void)client.SendMail(project_->GetProjectId(), mail.GetRecipientsLoginName(), message,
                              mail.GetId());
    });
}

void MailClient::ReportSent(const ClientMail& mail, int result)
{
    const auto recipients = RecipientsOf(mail);
    ActionResultTarget(this, GetTarget()).SendMailCompleted(mail, recipients, result);
    std::optional<ActionResultTarget> sender;
    {
        const OV::LockGuard guard(sendLock_);
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
void MailClient::ReportTaken()
{
    OV::HashSet<OV::UniString> missing;
    {
        const OV::LockGuard guard(sendLock_);
        for (const auto& [id, sender] : senders_)
            if (sender.isInOutbox)
                missing.insert(id);
    }
    // In this order: a mail that comes meanwhile is missed by nobody.
    for (const auto& mail : outbox_.GetMails())
        missing.erase(mail->GetId());
    OV::Array<Sender> senders;
    {
        const OV::LockGuard guard(sendLock_);
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
