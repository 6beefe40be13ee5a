#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "Messaging/MailConversionException.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

#include <new>

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
            OV::Logger::Info(OV::Logger::Library,
                             u"SYC::MailClient: mail % carries actions that this program does not "
                             u"know; it is shown without them",
                             {message.mailId});
        if (status == OV::ChannelOk || mail->HasUnknownActions())
            return mail;
        OV::Logger::Warning(OV::Logger::Library, u"SYC::MailClient: mail % is dropped: status %",
                            {message.mailId, status});
    } catch (const std::bad_alloc&) {
        throw;  // no fault of the mail
    } catch (...) {
        OV::Logger::Warning(OV::Logger::Library, u"SYC::MailClient: mail % is dropped: %",
                            {message.mailId, OV::DescribeCurrentException()});
    }
    return {};
}

}  // namespace

MailClient::Refreshed MailClient::FetchMails(std::int32_t sinceTime, FlagChanges known,
                                             const IdList& kept)
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
        // What the server has no more was deleted, or is lost to a server that was restored from an
        // older copy: then this list may be the last to have it.
        OV::Array<OV::UniString> missing;
        for (const auto& id : kept)
            if (!id.empty() && !refreshed.read.contains(id))
                missing.push_back(id);
        if (!missing.empty())
            for (const auto& id : client.GetDeletedMails(projectId, missing))
                refreshed.deleted.push_back(id);
    });
    return refreshed;
}

}  // namespace SYC
