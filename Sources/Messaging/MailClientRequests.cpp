#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "Messaging/MailConversionException.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <new>
#include <unordered_set>

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

/// How many mails both lists have, each id once.
std::size_t CountTogether(const MailClient::MailList& kept, const MailClient::MailList& fetched)
{
    std::unordered_set<OV::UniStringView> ids;
    ids.reserve(kept.size() + fetched.size());
    for (const auto* list : {&kept, &fetched})
        for (const auto& mail : *list)
            if (!mail->GetId().empty())
                ids.insert(mail->GetId());
    return ids.size();
}

/// Leaves what the mails do not show themselves.
void DropKnown(OV::HashTable<OV::UniString, bool>& flags,
               bool (ClientMail::*isSet)() const noexcept, const MailClient::MailList& mails)
{
    for (const auto& mail : mails)
        if ((*mail.*isSet)())
            flags.erase(mail->GetId());
    std::erase_if(flags, [](const auto& entry) { return !entry.second; });
}

}  // namespace

MailClient::Refreshed MailClient::FetchMails(std::int32_t sinceTime, std::uint64_t knownChange,
                                             const MailList& kept)
{
    Refreshed refreshed;
    project_->Ask([&](SyncraClient& client) {
        const auto& projectId = project_->GetProjectId();
        const auto box = client.GetMails(projectId, sinceTime, knownChange, [&refreshed] {
            const auto mails = std::make_shared<MailList>();
            const auto take = [mails](const Message& message) {
                if (auto mail = ToMail(message))
                    mails->push_back(std::move(mail));
            };
            const auto end = [mails, &refreshed](bool) {
                std::move(mails->begin(), mails->end(), std::back_inserter(refreshed.mails));
            };
            return SyncraClient::MailPage{take, end};
        });
        auto after = knownChange;
        // Mails of a list that had none show their flags as they are.
        if (knownChange == 0 && kept.empty())
            after = box.change;
        // Whatever the server has is among these: as many are the same ones.
        else if (!kept.empty() && box.count != CountTogether(kept, refreshed.mails))
            after = 0;
        const bool areAllAsked = after == 0;
        if (!areAllAsked && box.flags) {
            for (const auto& id : box.flags->read)
                refreshed.read.emplace(id, true);
            for (const auto& id : box.flags->historical)
                refreshed.historical.emplace(id, true);
            refreshed.change = box.change;
        } else {
            auto change = after;
            refreshed.read = client.GetMailStatus(projectId, after);
            refreshed.historical = client.GetMailHistorical(projectId, change);
            refreshed.change = std::min(after, change);
        }
        // What the server has no more was deleted, or is lost to a server that was restored from an
        // older copy: then this list may be the last to have it.
        OV::Array<OV::UniString> missing;
        for (const auto& mail : kept)
            if (const auto& id = mail->GetId();
                areAllAsked && !id.empty() && !refreshed.read.contains(id))
                missing.push_back(id);
        if (!missing.empty())
            for (const auto& id : client.GetDeletedMails(projectId, missing))
                refreshed.deleted.push_back(id);
        DropKnown(refreshed.read, &ClientMail::IsRead, kept);
        DropKnown(refreshed.historical, &ClientMail::IsHistorical, kept);
    });
    return refreshed;
}

}  // namespace SYC
