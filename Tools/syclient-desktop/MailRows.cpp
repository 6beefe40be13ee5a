#include "MailRows.hpp"

#include "DesktopText.hpp"
#include "Faces.hpp"
#include "MailTexts.hpp"
#include "Words.hpp"

namespace {

constexpr int ShownCharacters = 200;

}  // namespace

MailRows::MailRows(ProjectSession& session, OV::Executor& home)
    : session_(session), mails_(session.Mails(), home), subscription_(mails_.Subscribe(*this))
{}

int MailRows::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(mails_.GetRowCount());
}

OV::Ref<SYC::ClientMail> MailRows::MailAt(const QModelIndex& index) const
{
    if (!index.isValid() || index.row() >= rowCount({}))
        return {};
    return mails_.GetMail(static_cast<std::size_t>(index.row()));
}

QModelIndex MailRows::Find(const OV::UniString& id) const
{
    const auto row = mails_.FindRow(id);
    return row ? index(static_cast<int>(*row), 0) : QModelIndex();
}

QVariant MailRows::data(const QModelIndex& index, int role) const
{
    if (role != CardRole && role != Qt::AccessibleTextRole)
        return {};
    const auto mail = MailAt(index);
    if (!mail)
        return {};
    const Card card = CardOf(*mail);
    return role == CardRole ? QVariant::fromValue(card) : QVariant(ToSpeech(card));
}

Card MailRows::CardOf(const SYC::ClientMail& mail) const
{
    Card card;
    const bool isOwn = mail.IsCopy() || mail.IsOut();
    card.title = MailTexts::Other(mail);
    card.subtitle = ToQt(OV::UniStringView(mail.GetBodyText()).substr(0, ShownCharacters));
    card.badge = MailTexts::Kind(mail);
    card.tone = MailTexts::ToneOf(mail);
    if (mail.GetImportance() == SYC::Importance::High) {
        card.badge = card.badge.isEmpty() ? tr("Important") : card.badge + " !";
        card.tone = card.tone == Card::Tone::Plain ? Card::Tone::Bad : card.tone;
    }
    card.aside = Words::When(mail.GetSendingTime());
    card.isStrong = !isOwn && !mail.IsRead();
    const auto& recipients = mail.GetRecipientsLoginName();
    SetFace(card, session_.Members(),
            isOwn && !recipients.empty() ? recipients.front() : mail.GetSender(), card.title);
    return card;
}

void MailRows::RowsToBeInserted(SYC::MailListModel&, std::size_t first, std::size_t count)
{
    beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
}

void MailRows::RowsInserted(SYC::MailListModel&, std::size_t, std::size_t)
{
    endInsertRows();
}

void MailRows::RowsToBeRemoved(SYC::MailListModel&, std::size_t first, std::size_t count)
{
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
}

void MailRows::RowsRemoved(SYC::MailListModel&, std::size_t, std::size_t)
{
    endRemoveRows();
}

void MailRows::RowsChanged(SYC::MailListModel&, std::size_t first, std::size_t count)
{
    emit dataChanged(index(static_cast<int>(first), 0),
                     index(static_cast<int>(first + count) - 1, 0));
}

void MailRows::ListToBeReset(SYC::MailListModel&)
{
    beginResetModel();
}

void MailRows::ListReset(SYC::MailListModel&)
{
    endResetModel();
}

void MailRows::CountsChanged(SYC::MailListModel&)
{
    emit CountsMoved();
}

void MailRows::BusyChanged(SYC::MailListModel&)
{
    emit BusyMoved();
}
