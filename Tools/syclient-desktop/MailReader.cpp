#include "MailReader.hpp"

#include "CardDelegate.hpp"
#include "DesktopText.hpp"
#include "Faces.hpp"
#include "LineLabel.hpp"
#include "MailTexts.hpp"
#include "Words.hpp"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextCursor>

using SYC::MailAnswer;
using SYC::MailClient;

namespace {

/// So many mails of a conversation are shown, the newest ones.
constexpr std::size_t MostOfThread = 50;

QString NameOfSender(const SYC::ClientMail& mail)
{
    return ToQt(mail.GetSenderFullName().empty() ? mail.GetSender() : mail.GetSenderFullName());
}

}  // namespace

MailReader::MailReader(ProjectSession& session, QWidget* parent)
    : QFrame(parent), session_(session), nothing_(new QLabel(tr("No mail is selected."), this)),
      text_(new QTextBrowser(this))
{
    head_ = MakeHead();
    requestBox_ = MakeRequest();
    actions_ = MakeActions();
    setObjectName("reader");
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto* column = new QVBoxLayout(this);
    const int margin = fontMetrics().height() / 2;
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(margin);
    nothing_->setAlignment(Qt::AlignCenter);
    nothing_->setForegroundRole(QPalette::PlaceholderText);
    text_->setObjectName("body");
    text_->setAccessibleName(tr("Text of the mail"));
    text_->setFrameShape(QFrame::NoFrame);
    text_->setOpenLinks(false);
    text_->document()->setDocumentMargin(0);
    column->addWidget(nothing_, 1);
    column->addWidget(head_);
    column->addWidget(actions_);
    column->addWidget(requestBox_);
    column->addWidget(text_, 1);
    Show({}, {});
}

template <class Pressed>
QPushButton* MailReader::AddButton(QBoxLayout& row, const QString& text, const char* name,
                                   Pressed pressed)
{
    auto* button = new QPushButton(text, this);
    button->setObjectName(name);
    connect(button, &QPushButton::clicked, this, pressed);
    row.addWidget(button);
    return button;
}

QWidget* MailReader::MakeHead()
{
    auto* box = new QWidget(this);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins({});
    face_ = new QLabel(box);
    row->addWidget(face_);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    const auto add = [&](const char* name) {
        auto* label = new LineLabel({}, box);
        label->setObjectName(name);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        texts->addWidget(label);
        return label;
    };
    sender_ = add("sender");
    QFont bold = sender_->font();
    bold.setBold(true);
    sender_->setFont(bold);
    facts_ = add("facts");
    row->addLayout(texts, 1);
    return box;
}

QWidget* MailReader::MakeRequest()
{
    auto* box = new QFrame(this);
    box->setFrameShape(QFrame::StyledPanel);
    auto* column = new QVBoxLayout(box);
    request_ = new QLabel(box);
    request_->setObjectName("request");
    request_->setTextFormat(Qt::PlainText);
    request_->setWordWrap(true);
    column->addWidget(request_);
    auto* row = new QHBoxLayout;
    give_ = AddButton(*row, tr("&Give"), "give",
                      [this] { emit AnswerWanted(MailAnswer::Accept, false); });
    give_->setToolTip("Ctrl+Return");
    giveWithNote_ = AddButton(*row, tr("Give with a &Note ..."), "giveWithNote",
                              [this] { emit AnswerWanted(MailAnswer::Accept, true); });
    deny_ = AddButton(*row, tr("&Deny ..."), "deny",
                      [this] { emit AnswerWanted(MailAnswer::Deny, true); });
    revoke_ = AddButton(*row, tr("&Withdraw"), "revoke",
                        [this] { emit AnswerWanted(MailAnswer::Revoke, false); });
    row->addStretch(1);
    column->addLayout(row);
    return box;
}

QWidget* MailReader::MakeActions()
{
    auto* box = new QWidget(this);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins({});
    reply_ = AddButton(*row, tr("&Reply ..."), "reply",
                       [this] { emit AnswerWanted(MailAnswer::Reply, true); });
    forward_ = AddButton(*row, tr("&Forward ..."), "forward", [this] { emit ForwardWanted(); });
    done_ = AddButton(*row, tr("&Done"), "toHistory", [this] { emit HistoryWanted(); });
    delete_ = AddButton(*row, tr("De&lete"), "delete", [this] { emit DeleteWanted(); });
    ownActions_ = new QHBoxLayout;
    row->addLayout(ownActions_);
    row->addStretch(1);
    return box;
}

void MailReader::Show(const OV::Ref<SYC::ClientMail>& mail, const Thread& thread)
{
    mail_ = mail;
    nothing_->setVisible(!mail_);
    for (QWidget* part : {head_, actions_, requestBox_, static_cast<QWidget*>(text_)})
        part->setVisible(static_cast<bool>(mail_));
    text_->clear();
    if (!mail_)
        return;
    ShowHead();
    ShowActions();
    QTextCursor cursor(text_->document());
    cursor.insertText(ToQt(mail_->GetBodyText()));
    const std::size_t first = thread.size() > MostOfThread ? thread.size() - MostOfThread : 0;
    for (std::size_t at = first; at < thread.size(); ++at)
        if (thread[at]->GetId() != mail_->GetId())
            Write(cursor, *thread[at]);
    text_->moveCursor(QTextCursor::Start);
}

void MailReader::FocusText()
{
    text_->setFocus();
}

void MailReader::Write(QTextCursor& cursor, const SYC::ClientMail& mail) const
{
    QTextBlockFormat block;
    block.setLeftMargin(fontMetrics().height());
    block.setTopMargin(fontMetrics().height());
    QTextCharFormat quiet;
    quiet.setForeground(palette().color(QPalette::PlaceholderText));
    cursor.insertBlock(block, quiet);
    const QString kind = MailTexts::Kind(mail);
    cursor.insertText(NameOfSender(mail) + ", " + Words::Exactly(mail.GetSendingTime()) +
                      (kind.isEmpty() ? QString() : " · " + kind));
    block.setTopMargin(0);
    cursor.insertBlock(block, QTextCharFormat());
    cursor.insertText(ToQt(mail.GetBodyText()));
}

void MailReader::ShowHead()
{
    Card card;
    const QString name = NameOfSender(*mail_);
    SetFace(card, session_.Members(), mail_->GetSender(), name);
    face_->setPixmap(
        CardDelegate::MakeFace(card, 3 * fontMetrics().height(), palette(), devicePixelRatioF()));
    sender_->setText(name);
    QStringList facts{tr("to %1").arg(ToQt(mail_->GetRecipientsFullName())),
                      Words::Exactly(mail_->GetSendingTime())};
    for (const QString& fact :
         {MailTexts::Kind(*mail_), MailTexts::Importance(mail_->GetImportance()),
          mail_->IsHistorical() ? tr("history") : QString()})
        if (!fact.isEmpty())
            facts += fact;
    facts_->setText(facts.join(" · "));
    facts_->setToolTip("<span>" + facts_->text().toHtmlEscaped() + "</span>");
}

void MailReader::ShowActions()
{
    const bool mayGive = MailClient::MayAnswer(*mail_, MailAnswer::Accept);
    const bool mayRevoke = MailClient::MayAnswer(*mail_, MailAnswer::Revoke);
    requestBox_->setVisible(mayGive || mayRevoke || mail_->IsOut());
    request_->setText(mail_->IsOut() ? ToQt(ToText(session_.Mails().GetOutboxStatus(*mail_)))
                      : mayGive      ? tr("You are asked for ownership.")
                                     : tr("You wait for the answer."));
    for (QPushButton* button : {give_, giveWithNote_, deny_})
        button->setVisible(mayGive);
    revoke_->setVisible(mayRevoke);
    reply_->setEnabled(MailClient::MayAnswer(*mail_, MailAnswer::Reply));
    forward_->setEnabled(!mail_->IsOut());
    done_->setEnabled(!mail_->IsHistorical() && !mail_->IsOut());
    while (auto* former = ownActions_->takeAt(0)) {
        former->widget()->deleteLater();
        delete former;
    }
    // What the mail itself brings along.
    OV::Array<SYC::MailAction::Item> items;
    if (const auto& actions = mail_->GetActionList())
        for (const auto& action : *actions)
            if (action)
                action->GetActionItems(*mail_, items);
    for (auto& item : items)
        (void)AddButton(*ownActions_, ToQt(item.first).replace('&', "&&"), "action",
                        [task = item.second] { task->Run(); });
}
