#include "SettingsPage.hpp"

#include "UserInterface/ProjectDialogs.hpp"
#include "UserSettings.hpp"
#include "Words.hpp"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>
#include <QUrl>

QLabel* SettingsPage::AddFact(QFormLayout& form, const QString& name, const char* objectName)
{
    auto* label = new QLabel(this);
    label->setObjectName(objectName);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setMinimumWidth(12 * fontMetrics().averageCharWidth());  // a path has no blanks
    label->setFocusPolicy(Qt::StrongFocus);  // or who has no mouse cannot copy it
    form.addRow(name, label);
    return label;
}

SettingsPage::SettingsPage(ProjectSession& session, QWidget* parent)
    : QWidget(parent), session_(session)
{
    auto* column = new QVBoxLayout(this);
    const int margin = fontMetrics().height();
    column->setContentsMargins(margin, margin, margin, margin);
    auto* form = new QFormLayout;
    form->setVerticalSpacing(margin / 2);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    server_ = AddFact(*form, tr("Server:"), "factServer");
    user_ = AddFact(*form, tr("Signed in as:"), "factUser");
    role_ = AddFact(*form, tr("Role:"), "factRole");
    folder_ = AddFact(*form, tr("Folder on this computer:"), "factFolder");
    space_ = AddFact(*form, tr("Room it takes:"), "factSpace");
    column->addLayout(form);
    auto* open = new QPushButton(tr("Show the &Folder"), this);
    connect(open, &QPushButton::clicked, this,
            [this] { QDesktopServices::openUrl(QUrl::fromLocalFile(folder_->text())); });
    auto* row = new QHBoxLayout;
    row->addWidget(open);
    row->addStretch();
    column->addLayout(row);
    column->addSpacing(margin);
    auto* tell = new QCheckBox(tr("Tell &new mails by a notice"), this);
    tell->setObjectName("tellMails");
    tell->setChecked(UserSettings::IsTellingMails());
    connect(tell, &QCheckBox::toggled, this,
            [](bool tells) { UserSettings::SetTellingMails(tells); });
    column->addWidget(tell);
    auto* languages = new QFormLayout;
    languages->setRowWrapPolicy(QFormLayout::WrapLongRows);
    languages->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    auto* language = new QComboBox(this);
    language->setObjectName("language");
    language->addItem(tr("Language of the system"), QString());
    language->addItem("English", "en");
    language->addItem("Deutsch", "de");
    language->setCurrentIndex(std::max(0, language->findData(UserSettings::GetLanguage())));
    auto* label = new QLabel(tr("&Language, from the next start on:"), this);
    label->setBuddy(language);
    connect(language, &QComboBox::currentIndexChanged, this,
            [language] { UserSettings::SetLanguage(language->currentData().toString()); });
    languages->addRow(label, language);
    column->addLayout(languages);
    column->addSpacing(margin);
    auto* change = new QPushButton(tr("Settings on the &Server ..."), this);
    change->setObjectName("changeSettings");
    connect(change, &QPushButton::clicked, this, [this] {
        const auto& login = session_.GetLogin();
        (void)SYC::UpdateProjectSettingsWithDialogs(
            {login.serverName, login.port, login.userName, login.password},
            session_.GetProjectId());
    });
    auto* leave = new QPushButton(tr("Lea&ve the Project ..."), this);
    leave->setObjectName("leave");
    connect(leave, &QPushButton::clicked, this, &SettingsPage::LeaveWanted);
    auto* last = new QHBoxLayout;
    last->addWidget(change);
    last->addWidget(leave);
    last->addStretch();
    column->addLayout(last);
    column->addStretch();
    connect(&session_, &ProjectSession::MembersChanged, this, &SettingsPage::ShowFacts);
    ShowFacts();
}

void SettingsPage::ShowFacts()
{
    server_->setText(session_.GetServer());
    user_->setText(session_.GetFullName() + " (" + session_.GetUser() + ")");
    role_->setText(session_.GetRole());
    if (const auto cache = session_.GetManager()->FindCache())
        folder_->setText(ToQt(cache->GetCacheFolderLocation().ToPath()));
}

void SettingsPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    const auto cache = session_.GetManager()->FindCache();
    if (!cache)
        return;
    // Counting goes through all files of the folder.
    (void)worker_.Execute(OV::MakeTask([this, copy = *cache] {
        const auto megabytes = static_cast<int>(copy.GetSpace_Mbyte());
        (void)home_.Execute(OV::MakeTask([this, megabytes] {
            space_->setText(megabytes == 0 ? tr("less than 1 MiB") : tr("%1 MiB").arg(megabytes));
        }));
    }));
}
