#include "Passwords.hpp"

#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Logger.hpp"
#include "Words.hpp"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using Syncra::Server::ManagementTool::GUI::SyncraInfo;

namespace Passwords {

OV::Secret Find(const OV::UniString& user, const OV::UniString& server)
{
    try {
        const SyncraInfo info;
        if (info.IsUserInServerList(user, server))
            return info.GetUserPassword(user, server);
        return info.GetUserDefaultPassword(user);
    } catch (const OV::Exception& error) {
        OV::Logger::Warning(OV::Logger::Library, u"No stored password was looked for: %",
                            {error.GetMessage()});
        return {};
    }
}

void Remember(const SYC::Inner::ProjectConnectionInfo& login, OV::Executor& worker)
{
    (void)worker.Execute(OV::MakeTask([login] {
        try {
            SyncraInfo().Update([&](SyncraInfo& info) {
                info.SetUserPassword(login.userName, login.serverName, login.password);
            });
        } catch (const OV::Exception& error) {
            OV::Logger::Warning(OV::Logger::Library, u"A password is not remembered: %",
                                {error.GetMessage()});
        }
    }));
}

}  // namespace Passwords

PasswordDialog::PasswordDialog(const SYC::Inner::ProjectConnectionInfo& login,
                               const QString& reason, QWidget* parent)
    : QDialog(parent), password_(new QLineEdit(this)),
      remember_(new QCheckBox(tr("&Remember it on this computer"), this))
{
    setWindowTitle(tr("Password"));
    auto* column = new QFormLayout(this);
    const auto addText = [&](const QString& text, const QString& name) {
        auto* label = new QLabel(text, this);
        label->setObjectName(name);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        return label;
    };
    if (!reason.isEmpty())
        column->addRow(addText(reason, "reason"));
    column->addRow(tr("Server:"),
                   addText(Words::ServerName(ToQt(login.serverName), login.port), "server"));
    column->addRow(tr("User:"), addText(ToQt(login.userName), "user"));
    password_->setObjectName("password");
    password_->setEchoMode(QLineEdit::Password);
    password_->setMinimumWidth(fontMetrics().averageCharWidth() * 32);
    column->addRow(tr("&Password:"), password_);
    remember_->setObjectName("remember");
    column->addRow(QString(), remember_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    column->addRow(buttons);
}

PasswordDialog::~PasswordDialog() = default;

OV::Secret PasswordDialog::GetPassword() const
{
    return FromQt(password_->text());
}

bool PasswordDialog::IsToBeRemembered() const
{
    return remember_->isChecked();
}
