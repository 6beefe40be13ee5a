#include "MailTexts.hpp"

#include "DesktopText.hpp"

#include <QCoreApplication>

namespace MailTexts {

namespace {

QString Translated(const char* text)
{
    return QCoreApplication::translate("MailTexts", text);
}

}  // namespace

QString Kind(const SYC::ClientMail& mail)
{
    switch (mail.GetType()) {
    case SYC::MailType::Request:
        return Translated(QT_TRANSLATE_NOOP("MailTexts", "Request"));
    case SYC::MailType::RequestAccepted:
        return Translated(QT_TRANSLATE_NOOP("MailTexts", "Accepted"));
    case SYC::MailType::RequestDenied:
        return Translated(QT_TRANSLATE_NOOP("MailTexts", "Denied"));
    case SYC::MailType::RequestRevoked:
        return Translated(QT_TRANSLATE_NOOP("MailTexts", "Withdrawn"));
    default:
        return {};
    }
}

Card::Tone ToneOf(const SYC::ClientMail& mail)
{
    switch (mail.GetType()) {
    case SYC::MailType::Request:
        return mail.IsHistorical() ? Card::Tone::Plain : Card::Tone::Attention;
    case SYC::MailType::RequestAccepted:
        return Card::Tone::Good;
    case SYC::MailType::RequestDenied:
        return Card::Tone::Bad;
    default:
        return Card::Tone::Plain;
    }
}

QString Importance(SYC::Importance importance)
{
    switch (importance) {
    case SYC::Importance::High:
        return Translated(QT_TRANSLATE_NOOP("MailTexts", "high importance"));
    case SYC::Importance::Medium:
        return Translated(QT_TRANSLATE_NOOP("MailTexts", "medium importance"));
    default:
        return {};
    }
}

QString Other(const SYC::ClientMail& mail)
{
    const auto& name =
        mail.IsCopy() || mail.IsOut() ? mail.GetRecipientsFullName() : mail.GetSenderFullName();
    return ToQt(name.empty() ? mail.GetSender() : name);
}

}  // namespace MailTexts
