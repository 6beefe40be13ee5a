#include "Files/ResourceNumbers.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "Messaging/MailAnswer.hpp"
#include "Messaging/MailClient.hpp"
#include "OVRoot/Resources.hpp"

/// Mails that the mail client makes of others.
namespace SYC {

namespace {

/// Indices of the mail texts.
enum MailText : int { NotAnswerable = 1, ForwardedFrom };

MailType TypeOf(MailAnswer answer)
{
    switch (answer) {
    case MailAnswer::Accept:
        return MailType::RequestAccepted;
    case MailAnswer::Deny:
        return MailType::RequestDenied;
    case MailAnswer::Revoke:
        return MailType::RequestRevoked;
    case MailAnswer::Reply:
        break;
    }
    return MailType::Normal;
}

ClientMail MakeMail(MailType type, MailContent content)
{
    ClientMail mail;
    mail.SetType(type);
    mail.SetImportance(content.importance);
    mail.SetBodyText(std::move(content.text));
    mail.SetActionList(std::move(content.actions));
    return mail;
}

}  // namespace

bool MailClient::MayAnswer(const ClientMail& original, MailAnswer answer)
{
    return answer == MailAnswer::Reply ||
           (original.GetType() == MailType::Request && !original.IsHistorical() &&
            original.IsCopy() == (answer == MailAnswer::Revoke));
}

OV::Array<OV::UniString> MailClient::GetAnswerRecipients(const ClientMail& original)
{
    return original.IsCopy() ? original.GetRecipientsLoginName()
                             : OV::Array<OV::UniString>{original.GetSender()};
}

ClientMail MailClient::Answer(ClientMail& original, MailAnswer answer, MailContent content,
                              MailClientActionResultObserver* observer)
{
    if (!MayAnswer(original, answer))
        throw OV::IllegalArgumentException(
            OV::GetStringListItem(TextLists::MailTexts, NotAnswerable));
    ClientMail mail = MakeMail(TypeOf(answer), std::move(content));
    mail.SetParentMailId(original.GetId());
    SendMail(GetAnswerRecipients(original), mail, observer);
    SetMailReadMessage(original);
    if (answer != MailAnswer::Reply)
        SetMailHistoricalMessage(original);
    TellListChanged();
    return mail;
}

ClientMail MailClient::Forward(const ClientMail& original,
                               const OV::Array<OV::UniString>& recipients, MailContent content,
                               MailClientActionResultObserver* observer)
{
    const auto& sender =
        original.GetSenderFullName().empty() ? original.GetSender() : original.GetSenderFullName();
    if (!content.text.empty())
        content.text += u"\n\n";
    content.text +=
        OV::FormatText(OV::GetStringListItem(TextLists::MailTexts, ForwardedFrom), {sender}) +
        u"\n" + original.GetBodyText();
    ClientMail mail = MakeMail(MailType::Normal, std::move(content));
    SendMail(recipients, mail, observer);
    return mail;
}

/// Of members that are not known the login name stands in.
void MailClient::FillInNames(ClientMail& mail) const
{
    if (mail.GetSender().empty())
        mail.SetSender(project_->GetLoginName());
    const auto nameOf = [this](const OV::UniString& login) {
        OV::UniString name = login;
        (void)members_.GetFullNameFromLoginName(login, name);
        return name;
    };
    if (mail.GetSenderFullName().empty()) {
        const bool isUser = mail.GetSender() == project_->GetLoginName();
        OV::UniString name = isUser ? project_->GetUserFullName() : OV::UniString();
        mail.SetSenderFullName(name.empty() ? nameOf(mail.GetSender()) : std::move(name));
    }
    if (mail.GetRecipientsFullName().empty()) {
        OV::UniString names;
        for (const auto& login : mail.GetRecipientsLoginName())
            names += (names.empty() ? u"" : u", ") + nameOf(login);
        mail.SetRecipientsFullName(std::move(names));
    }
}

}  // namespace SYC
