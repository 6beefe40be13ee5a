#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/Secret.hpp"
#include "ProjectConnectionInfo.hpp"

#include <QDialog>

#include <optional>

class QCheckBox;
class QLabel;
class QLineEdit;

/// The passwords that this computer remembers.
namespace Passwords {

/// Of that user on that server, or his default one; empty when there is none or the file cannot be
/// read, which the log tells.
[[nodiscard]] OV::Secret Find(const OV::UniString& user, const OV::UniString& server);
/// On `worker`, since another process may be writing. A failure is logged.
void Remember(const SYC::Inner::ProjectConnectionInfo& login, OV::Executor& worker);

}  // namespace Passwords

/// Asks for a password, and whether it is to be remembered.
class PasswordDialog final : public QDialog {
    Q_OBJECT
public:
    /// `reason` is shown above; it may be empty.
    PasswordDialog(const SYC::Inner::ProjectConnectionInfo& login, const QString& reason,
                   QWidget* parent);
    ~PasswordDialog() override;

    [[nodiscard]] OV::Secret GetPassword() const;
    [[nodiscard]] bool IsToBeRemembered() const;

private:
    QLineEdit* password_;
    QCheckBox* remember_;
};
