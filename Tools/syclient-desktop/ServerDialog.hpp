#pragma once

#include "ProjectConnectionInfo.hpp"

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QSpinBox;

/// Asks where a server is, and who signs in to it.
class ServerDialog final : public QDialog {
    Q_OBJECT
public:
    ServerDialog(const QString& host, int port, const QString& user, QWidget* parent);
    ~ServerDialog() override;

    /// Without a project.
    [[nodiscard]] SYC::Inner::ProjectConnectionInfo GetLogin() const;
    [[nodiscard]] bool IsToBeRemembered() const;

private:
    QLineEdit *host_, *user_, *password_;
    QSpinBox* port_;
    QCheckBox* remember_;
};
