#include "ServerDialog.hpp"

#include "DesktopText.hpp"
#include "Words.hpp"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

ServerDialog::ServerDialog(const QString& host, int port, const QString& user, QWidget* parent)
    : QDialog(parent), host_(new QLineEdit(host, this)), user_(new QLineEdit(user, this)),
      password_(new QLineEdit(this)), port_(new QSpinBox(this)),
      remember_(new QCheckBox(tr("&Remember the password on this computer"), this))
{
    setWindowTitle(tr("Add a Server"));
    auto* form = new QFormLayout(this);
    host_->setObjectName("host");
    host_->setPlaceholderText("nexar.example");
    host_->setMinimumWidth(fontMetrics().averageCharWidth() * 36);
    form->addRow(tr("&Server:"), host_);
    port_->setObjectName("port");
    port_->setRange(1, 65535);
    port_->setValue(port == 0 ? Words::UsualPort : port);
    form->addRow(tr("P&ort:"), port_);
    user_->setObjectName("user");
    form->addRow(tr("&User:"), user_);
    password_->setObjectName("password");
    password_->setEchoMode(QLineEdit::Password);
    form->addRow(tr("&Password:"), password_);
    remember_->setObjectName("remember");
    form->addRow(QString(), remember_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    auto* ok = buttons->button(QDialogButtonBox::Ok);
    const auto look = [this, ok] {
        ok->setEnabled(!host_->text().trimmed().isEmpty() && !user_->text().isEmpty() &&
                       !password_->text().isEmpty());
    };
    for (auto* field : {host_, user_, password_})
        connect(field, &QLineEdit::textChanged, this, look);
    look();
    (host.isEmpty() ? host_ : user.isEmpty() ? user_ : password_)->setFocus();
}

ServerDialog::~ServerDialog() = default;

SYC::Inner::ProjectConnectionInfo ServerDialog::GetLogin() const
{
    SYC::Inner::ProjectConnectionInfo login;
    login.serverName = FromQt(host_->text().trimmed());
    login.port = static_cast<std::uint16_t>(port_->value());
    login.userName = FromQt(user_->text());
    login.password = FromQt(password_->text());
    return login;
}

bool ServerDialog::IsToBeRemembered() const
{
    return remember_->isChecked();
}
