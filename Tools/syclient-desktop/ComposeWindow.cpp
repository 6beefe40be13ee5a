#include "ComposeWindow.hpp"

#include "DesktopText.hpp"
#include "OVRoot/Exception.hpp"

#include <QAbstractItemView>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QComboBox>
#include <QCompleter>
#include <QDir>
#include <QFile>
#include <QFormLayout>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QStringListModel>
#include <QUuid>

using SYC::Importance;
using SYC::MailAnswer;
using SYC::MailType;

namespace {

constexpr int DraftMilliseconds = 1500;
constexpr QChar Separator = ';';
constexpr std::size_t MostProposals = 12;

/// One member as the line of recipients names him.
QString AddressOf(const SYC::ProjectMembers& members, const OV::UniString& login)
{
    OV::UniString name;
    return members.GetFullNameFromLoginName(login, name) && name != login
               ? ToQt(name) + " <" + ToQt(login) + ">"
               : ToQt(login);
}

QString FolderOf(const ProjectSession& session)
{
    return ToQt(session.GetManager()->FindCache()->GetCacheFolderLocation().ToPath());
}

QString TitleOf(const ComposeWindow::Task& task)
{
    if (!task.original)
        return ComposeWindow::tr("New Mail");
    if (!task.answer)
        return ComposeWindow::tr("Forward");
    switch (*task.answer) {
    case MailAnswer::Accept:
        return ComposeWindow::tr("Give");
    case MailAnswer::Deny:
        return ComposeWindow::tr("Deny");
    case MailAnswer::Revoke:
        return ComposeWindow::tr("Withdraw the Request");
    default:
        return ComposeWindow::tr("Reply");
    }
}

}  // namespace

ComposeWindow::ComposeWindow(ProjectSession& session, Task task, QWidget* parent)
    : QDialog(parent), session_(session), completion_(session.Members()), task_(std::move(task)),
      to_(new QLineEdit(this)), problem_(new QLabel(this)), type_(new QComboBox(this)),
      importance_(new QComboBox(this)), text_(new QPlainTextEdit(this)),
      send_(new QPushButton(tr("&Send"), this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(TitleOf(task_) + " - " + session_.GetName());
    resize(fontMetrics().averageCharWidth() * 80, fontMetrics().height() * 24);
    auto* column = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    to_->setObjectName("to");
    to_->setPlaceholderText(tr("Names of members, separated by a semicolon"));
    form->addRow(tr("&To:"), to_);
    problem_->setObjectName("problem");
    problem_->setTextFormat(Qt::PlainText);
    problem_->setWordWrap(true);
    form->addRow(QString(), problem_);
    type_->setObjectName("type");
    type_->addItem(tr("Message"), static_cast<int>(MailType::Normal));
    type_->addItem(tr("Request for ownership"), static_cast<int>(MailType::Request));
    type_->setCurrentIndex(task_.type == MailType::Request ? 1 : 0);
    importance_->setObjectName("importance");
    importance_->addItem(tr("Low"), static_cast<int>(Importance::Low));
    importance_->addItem(tr("Medium"), static_cast<int>(Importance::Medium));
    importance_->addItem(tr("High"), static_cast<int>(Importance::High));
    auto* choices = new QHBoxLayout;
    choices->addWidget(type_);
    choices->addStretch();
    auto* label = new QLabel(tr("&Importance:"), this);
    label->setBuddy(importance_);
    choices->addWidget(label);
    choices->addWidget(importance_);
    auto* kind = new QLabel(tr("&Kind:"), this);
    kind->setBuddy(type_);
    form->addRow(kind, choices);
    column->addLayout(form);
    text_->setObjectName("text");
    text_->setAccessibleName(tr("Text of the mail"));
    text_->setTabChangesFocus(true);
    column->addWidget(text_, 1);
    auto* row = new QHBoxLayout;
    auto* hint = new QLabel(tr("Ctrl+Return sends."), this);
    hint->setForegroundRole(QPalette::PlaceholderText);
    row->addWidget(hint, 1);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setAutoDefault(false);
    send_->setObjectName("send");
    send_->setAutoDefault(false);
    row->addWidget(cancel);
    row->addWidget(send_);
    column->addLayout(row);

    for (const auto& recipient : task_.recipients)
        to_->setText(to_->text() + AddressOf(session_.Members(), recipient) + Separator + " ");
    if (task_.original) {
        type_->setEnabled(false);
        if (task_.answer) {
            for (const auto& recipient : SYC::MailClient::GetAnswerRecipients(*task_.original))
                to_->setText(to_->text() + AddressOf(session_.Members(), recipient) + Separator +
                             " ");
            to_->setReadOnly(true);
        } else {
            text_->setPlaceholderText(tr("The forwarded text follows yours."));
        }
    }
    draftFile_ =
        FolderOf(session_) + "/Draft-" + QUuid::createUuid().toString(QUuid::Id128) + ".json";

    auto* completer = new QCompleter(new QStringListModel(this), this);
    completer->setWidget(to_);
    completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    connect(to_, &QLineEdit::textEdited, this, &ComposeWindow::Complete);
    connect(completer, qOverload<const QString&>(&QCompleter::activated), this,
            [this](const QString& address) {
                const auto text = to_->text();
                const auto start = text.lastIndexOf(Separator, -1) + 1;
                to_->setText((start > 0 ? text.left(start) + " " : QString()) + address +
                             Separator + " ");
                ShowRecipients();
            });
    completer->setObjectName("completer");
    connect(to_, &QLineEdit::textChanged, this, &ComposeWindow::ShowRecipients);
    connect(&session_, &ProjectSession::MembersChanged, this, &ComposeWindow::ShowRecipients);
    connect(send_, &QPushButton::clicked, this, &ComposeWindow::Send);
    connect(cancel, &QPushButton::clicked, this, &ComposeWindow::reject);
    for (QWidget* part : findChildren<QWidget*>())
        part->installEventFilter(this);
    draftTimer_.setSingleShot(true);
    connect(&draftTimer_, &QTimer::timeout, this, &ComposeWindow::KeepDraft);
    connect(text_, &QPlainTextEdit::textChanged, this,
            [this] { draftTimer_.start(DraftMilliseconds); });
    ShowRecipients();
    (task_.original || !task_.recipients.empty() ? static_cast<QWidget*>(text_) : to_)->setFocus();
}

ComposeWindow::~ComposeWindow()
{
    if (!isDone_)
        KeepDraft();
}

OV::Array<OV::UniString> ComposeWindow::Recipients(QStringList* unknown) const
{
    const auto& members = session_.Members();
    OV::Array<OV::UniString> logins;
    for (const QString& part : to_->text().split(Separator, Qt::SkipEmptyParts)) {
        const QString name = part.trimmed();
        if (name.isEmpty())
            continue;
        const auto bracket = name.lastIndexOf('<');
        const auto wanted =
            bracket >= 0 && name.endsWith('>') ? name.mid(bracket + 1).chopped(1) : name;
        OV::UniString found = members.IsMember(FromQt(wanted)) ? FromQt(wanted) : OV::UniString();
        int fits = found.empty() ? 0 : 1;
        if (fits == 0)
            for (const auto& [id, user] : members.GetUserDataTable())
                if (ToQt(user.GetFullName()).compare(wanted, Qt::CaseInsensitive) == 0 ||
                    ToQt(user.GetLoginName()).compare(wanted, Qt::CaseInsensitive) == 0) {
                    found = user.GetLoginName();
                    ++fits;
                }
        if (fits != 1 && unknown != nullptr)
            *unknown += name;
        else if (fits == 1 && std::find(logins.begin(), logins.end(), found) == logins.end())
            logins.push_back(found);
    }
    return logins;
}

void ComposeWindow::ShowRecipients()
{
    QStringList unknown;
    const auto logins =
        task_.answer ? SYC::MailClient::GetAnswerRecipients(*task_.original) : Recipients(&unknown);
    problem_->setText(
        task_.answer || unknown.isEmpty() ? QString()
        : unknown.size() == 1
            ? tr("\"%1\" is no member of this project, or more than one.").arg(unknown.front())
            : tr("These are no members of this project: %1").arg(unknown.join(", ")));
    problem_->setVisible(!problem_->text().isEmpty());
    send_->setEnabled(!logins.empty() && (task_.answer || unknown.isEmpty()));
}

void ComposeWindow::Complete(const QString& text)
{
    const QString typed = text.mid(text.lastIndexOf(Separator) + 1).trimmed();
    auto* completer = findChild<QCompleter*>("completer");
    QStringList proposals;
    for (const auto id : completion_.Complete(FromQt(typed), MostProposals))
        proposals += AddressOf(session_.Members(),
                               session_.Members().GetUserDataTable().at(id).GetLoginName());
    static_cast<QStringListModel*>(completer->model())->setStringList(proposals);
    if (proposals.isEmpty())
        completer->popup()->hide();
    else
        completer->complete();
}

void ComposeWindow::Send()
{
    if (!send_->isEnabled())
        return;
    const SYC::MailContent content{FromQt(text_->toPlainText()),
                                   static_cast<Importance>(importance_->currentData().toInt()),
                                   {}};
    try {
        if (task_.original && task_.answer) {
            (void)session_.Mails().Answer(*task_.original, *task_.answer, content, nullptr);
        } else if (task_.original) {
            (void)session_.Mails().Forward(*task_.original, Recipients(nullptr), content, nullptr);
        } else {
            SYC::ClientMail mail;
            mail.SetType(static_cast<MailType>(type_->currentData().toInt()));
            mail.SetImportance(content.importance);
            mail.SetBodyText(content.text);
            session_.Mails().SendMail(Recipients(nullptr), mail, nullptr);
        }
    } catch (const OV::Exception& error) {
        problem_->setText(tr("The mail was not sent: %1").arg(ToQt(error.GetMessage())));
        problem_->show();
        return;
    }
    DropDraft();
    emit Sent();
    close();
}

bool ComposeWindow::IsTyped() const
{
    return !isDone_ && !text_->toPlainText().isEmpty();
}

bool ComposeWindow::MayClose()
{
    if (!IsTyped()) {
        DropDraft();
        return true;
    }
    QMessageBox box(QMessageBox::Question, windowTitle(),
                    tr("What becomes of the mail that you have begun?"), QMessageBox::Cancel, this);
    const auto* keep = box.addButton(tr("Keep as Draft"), QMessageBox::AcceptRole);
    const auto* discard = box.addButton(tr("Discard"), QMessageBox::DestructiveRole);
    box.exec();
    if (box.clickedButton() == keep) {
        KeepDraft();
        isDone_ = true;
        return true;
    }
    if (box.clickedButton() == discard) {
        DropDraft();
        return true;
    }
    return false;
}

bool ComposeWindow::eventFilter(QObject* part, QEvent* event)
{
    // Not a shortcut: the window behind has one with the same keys.
    const bool isPress = event->type() == QEvent::KeyPress;
    if (isPress || event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
            (key->modifiers() & ~Qt::KeypadModifier) == Qt::ControlModifier) {
            event->accept();
            if (isPress)
                Send();
            return true;
        }
    }
    return QDialog::eventFilter(part, event);
}

void ComposeWindow::reject()
{
    close();
}

void ComposeWindow::closeEvent(QCloseEvent* event)
{
    event->setAccepted(isDone_ || MayClose());
}

void ComposeWindow::KeepDraft()
{
    if (!IsTyped())
        return;
    QSaveFile file(draftFile_);
    const QJsonObject draft{
        {"to", to_->text()},
        {"original", task_.original ? ToQt(task_.original->GetId()) : QString()},
        {"answer", task_.answer ? static_cast<int>(*task_.answer) : -1},
        {"type", type_->currentData().toInt()},
        {"importance", importance_->currentIndex()},
        {"text", text_->toPlainText()}};
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(draft).toJson()) < 0 ||
        !file.commit()) {
        problem_->setText(tr("The draft cannot be kept: %1").arg(file.errorString()));
        problem_->show();
    }
}

void ComposeWindow::DropDraft()
{
    draftTimer_.stop();
    isDone_ = true;
    QFile::remove(draftFile_);
}

void ComposeWindow::RestoreAll(ProjectSession& session, QWidget* parent)
{
    const QDir folder(FolderOf(session));
    for (const QString& name : folder.entryList({"Draft-*.json"}, QDir::Files, QDir::Time))
        Restore(session, folder.filePath(name), parent);
}

void ComposeWindow::Restore(ProjectSession& session, const QString& draftFile, QWidget* parent)
{
    QFile file(draftFile);
    constexpr qint64 most = 4 * 1024 * 1024;
    if (!file.open(QIODevice::ReadOnly) || file.size() > most)
        return;
    const auto draft = QJsonDocument::fromJson(file.readAll()).object();
    if (draft["text"].toString().isEmpty())
        return;
    Task task;
    task.type = draft["type"].toInt() == static_cast<int>(MailType::Request) ? MailType::Request
                                                                             : MailType::Normal;
    if (const auto id = FromQt(draft["original"].toString());
        !id.empty() && session.Mails().GetMail(id, task.original)) {
        const int answer = draft["answer"].toInt(-1);
        if (answer >= static_cast<int>(MailAnswer::Reply) &&
            answer <= static_cast<int>(MailAnswer::Revoke) &&
            SYC::MailClient::MayAnswer(*task.original, static_cast<MailAnswer>(answer)))
            task.answer = static_cast<MailAnswer>(answer);
        else if (answer >= 0)
            task.original = {};
    }
    auto* window = new ComposeWindow(session, std::move(task), parent);
    if (!window->task_.answer)
        window->to_->setText(draft["to"].toString());
    window->importance_->setCurrentIndex(draft["importance"].toInt());
    window->text_->setPlainText(draft["text"].toString());
    window->draftFile_ = draftFile;
    window->show();
}
