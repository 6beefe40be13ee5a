#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "Messaging/MailMessageConversion.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

/// The work of the mail client on its worker threads.
namespace SYC {

namespace {

using Syncra::Client::SyncraClient;
using Syncra::Protocol::Message;

/// Empty for a message that is no mail: it is dropped, since nobody could do anything about it.
OV::Ref<ClientMail> ToMail(const Message& message)
{
    try {
        if (!MailMessageConversion::IsCurrentFormat(message))
            return OV::MakeRef<ClientMail>(message);
        auto mail = OV::MakeRef<ClientMail>();
        const auto status = mail->SyncraMessageConvertTo(message);
        if (status == OV::ChannelOk)
            return mail;
        OV::Logger::Warning("SYClient", u"SYC::MailClient: mail % is dropped: status %",
                            {message.mailId, status});
    } catch (const std::exception& error) {
        OV::Logger::Warning("SYClient", u"SYC::MailClient: mail % is dropped: %",
                            {message.mailId, MessageOf(error)});
    }
    return {};
}

MailClientActionResultObserver::NameList RecipientsOf(const ClientMail& mail)
{
    const auto& names = mail.GetRecipientsLoginName();
    return {names.begin(), names.end()};
}

/// The server looked at this one mail and does not want it; another one may pass.
bool IsRefusalOfMail(int result)
{
    return result == MailResult::NotConverted ||
           (result > 0 && result != static_cast<int>(Syncra::Protocol::ErrorCode::InternalError));
}

}  // namespace

OV::UniString MessageOf(const std::exception& error)
{
    const auto* ours = dynamic_cast<const OV::Exception*>(&error);
    return ours != nullptr ? ours->GetMessage() : OV::FromUtf8(error.what());
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
        for (; !messages.empty(); messages.pop_front())
            if (auto mail = ToMail(messages.front()))
                refreshed.mails.push_back(std::move(mail));
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

void MailClient::SendOutbox()
{
    OV::HashSet<OV::UniString> passed;
    do {
        try {
            SendWhileOnline(passed);
        } catch (const std::exception& error) {
            OV::Logger::Warning("SYClient", u"SYC::MailClient: the outbox waits: %",
                                {MessageOf(error)});
            if (const auto first = outbox_.First(passed))
                ReportSent(*first, MailResult::NotReached);
        }
        outbox_.Save();
        // Whatever came between the last look at the outbox and here is seen by one of the two:
        // this task, or the one that the newcomer starts.
    } while (!worker_.IsCanceled() && !SendTaskFinished());
}

void MailClient::SendWhileOnline(OV::HashSet<OV::UniString>& passed)
{
    const auto next = [&] { return IsOnline() ? outbox_.First(passed) : OV::Ref<ClientMail>(); };
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
    const OV::LockGuard guard(sendLock_);
    const auto sender = senders_.find(mail.GetId());
    if (sender == senders_.end())
        return;
    sender->second.SendMailCompleted(mail, recipients, result);
    if (result == MailResult::Succeeded)
        senders_.erase(sender);
}

}  // namespace SYC
