#include "Targets.hpp"

#include "Messaging/ClientMail.hpp"
#include "Messaging/MailConversionException.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <optional>

namespace {

using Syncra::Protocol::Message;

std::optional<SYC::ClientMail> ToMail(const Message& message)
{
    if (!SYC::ClientMail::IsCurrentFormat(message))
        return SYC::ClientMail(message);
    try {
        SYC::ClientMail mail;
        if (mail.SyncraMessageConvertTo(message) == OV::ChannelOk)
            return mail;
    } catch (const OV::IllegalReferenceException&) {
    } catch (const SYC::MailConversionException&) {
    }
    return std::nullopt;
}

std::optional<Message> ToMessage(OV::StringView body)
{
    using namespace Syncra::Protocol;
    try {
        return ReadAnswer<Message>(body);
    } catch (const MalformedRecordException&) {
        return std::nullopt;
    }
}

/// A page of mails that is accepted has the same mails when they are read into one and each into
/// its own, and a cursor without its mails as well: where it comes more than once, the head has the
/// first and the whole the last.
bool IsReadInPart(OV::StringView body)
{
    using namespace Syncra::Protocol;
    MailPage page;
    OV::Array<Message> mails;
    page.mails.take = [&](const Message& mail) { mails.push_back(mail); };
    try {
        ReadAnswer(body, page);
    } catch (const MalformedRecordException&) {
        return true;
    }
    try {
        if (ReadAnswer<Single<"mails", OV::Array<Message>>>(body).value != mails)
            return false;
        return ReadHead<PageCursor>(body).value.has_value();
    } catch (const MalformedRecordException&) {
        return false;
    }
}

}  // namespace

// The bytes are a message as a server sends it, or a page of them.
void Fuzz::MailMessage(OV::StringView bytes)
{
    Promise(IsReadInPart(bytes), "what is read whole can be read in part");
    const auto message = ToMessage(bytes);
    if (!message)
        return;
    const auto onTheWire = Syncra::Protocol::WriteJson(*message);
    Promise(ToMessage(onTheWire) == message, "a message comes back as it was");
    auto mail = ToMail(*message);
    if (!mail)
        return;
    const auto sent = mail->ConvertToSyncraMessage();
    auto received = ToMail(sent);
    Promise(received.has_value(), "what was received can be sent and received");
    Promise(received->ConvertToSyncraMessage() == sent, "equal mails are equal messages");
}
