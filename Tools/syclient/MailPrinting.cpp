#include "MailPrinting.hpp"

namespace {

using SYC::ClientMail;
using SYC::Importance;
using SYC::MailType;

const char* TypeWord(MailType type)
{
    switch (type) {
    case MailType::None:
        return "none";
    case MailType::Normal:
        return "mail";
    case MailType::Request:
        return "request";
    case MailType::RequestAccepted:
        return "accepted";
    case MailType::RequestDenied:
        return "denied";
    case MailType::RequestRevoked:
        return "revoked";
    }
    return "none";
}

const char* ImportanceWord(Importance importance)
{
    switch (importance) {
    case Importance::Low:
        return "low";
    case Importance::Medium:
        return "medium";
    case Importance::High:
        return "high";
    }
    return "low";
}

std::string StateWords(const ClientMail& mail)
{
    std::string words;
    const auto add = [&](bool holds, const char* word) {
        if (holds)
            words += (words.empty() ? "" : ", ") + std::string(word);
    };
    add(mail.IsOut(), "waiting");
    add(mail.IsCopy(), "sent");
    add(!mail.IsOut() && !mail.IsCopy() && !mail.IsRead(), "new");
    add(mail.IsHistorical(), "history");
    add(mail.HasUnknownActions(), "unknown actions");
    return words;
}

std::string Names(const ClientMail& mail)
{
    std::string names;
    for (const auto& name : mail.GetRecipientsLoginName())
        names += (names.empty() ? "" : ", ") + ForDisplay(name);
    return names;
}

/// The beginning of the text on one line.
std::string Subject(const ClientMail& mail)
{
    constexpr std::size_t longest = 60;
    const auto line = mail.GetSubject();
    return line.size() <= longest ? ForDisplay(line) : ForDisplay(line.substr(0, longest)) + "...";
}

}  // namespace

std::vector<std::string> MailTableHeading()
{
    return {"TIME", "FROM", "TO", "KIND", "STATE", "TEXT", "ID"};
}

std::vector<std::string> MailTableRow(const ClientMail& mail, std::size_t idLength)
{
    return {TimeForDisplay(mail.GetTime()),
            ForDisplay(mail.GetSender()),
            Names(mail),
            TypeWord(mail.GetType()),
            StateWords(mail),
            Subject(mail),
            ForDisplay(mail.GetId().substr(0, idLength))};
}

Json MailJson(const ClientMail& mail)
{
    Json recipients = Json::array();
    for (const auto& name : mail.GetRecipientsLoginName())
        recipients.push_back(ForJson(name));
    return {{"id", ForJson(mail.GetId())},
            {"parent", ForJsonOrNull(mail.GetParentMailId())},
            {"kind", TypeWord(mail.GetType())},
            {"importance", ImportanceWord(mail.GetImportance())},
            {"from", ForJson(mail.GetSender())},
            {"fromFullName", ForJson(mail.GetSenderFullName())},
            {"to", std::move(recipients)},
            {"sendingTime", mail.GetSendingTime()},
            {"time", mail.GetRepositoryTime()},
            {"read", mail.IsRead()},
            {"copy", mail.IsCopy()},
            {"waiting", mail.IsOut()},
            {"history", mail.IsHistorical()},
            {"unknownActions", mail.HasUnknownActions()},
            {"text", ForJson(mail.GetBodyText())}};
}

void PrintMail(const ClientMail& mail, const Output& output)
{
    if (output.json) {
        output.PrintJson(MailJson(mail));
        return;
    }
    const auto fullName = ForDisplay(mail.GetSenderFullName());
    output.PrintFields(
        {{"from", ForDisplay(mail.GetSender()) + (fullName.empty() ? "" : " (" + fullName + ")")},
         {"to", Names(mail)},
         {"sent", TimeForDisplay(mail.GetSendingTime())},
         {"kind", TypeWord(mail.GetType())},
         {"importance", ImportanceWord(mail.GetImportance())},
         {"state", StateWords(mail)},
         {"answers", ForDisplay(mail.GetParentMailId())},
         {"id", ForDisplay(mail.GetId())}});
    output.PrintLine("");
    std::string text;
    for (const char c : OV::ToUtf8(mail.GetBodyText())) {
        if (c == '\n') {
            output.PrintLine(ForDisplay(OV::FromUtf8(text)));
            text.clear();
        } else if (c != '\r') {
            text += c;
        }
    }
    output.PrintLine(ForDisplay(OV::FromUtf8(text)));
}

std::string MailLine(const ClientMail& mail)
{
    return TimeForDisplay(mail.GetTime()) + "  " + TypeWord(mail.GetType()) + " from " +
           ForDisplay(mail.GetSender()) + " to " + Names(mail) + ": " + Subject(mail) + "  " +
           ForDisplay(mail.GetId());
}
