#pragma once

#include "ProjectSession.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"

#include <QWidget>

class QFormLayout;
class QLabel;

/// What is known of the project on this computer, and what its user may choose.
class SettingsPage final : public QWidget {
    Q_OBJECT
public:
    /// The session outlives the page.
    SettingsPage(ProjectSession& session, QWidget* parent);

signals:
    void LeaveWanted();

private:
    void ShowFacts();
    void showEvent(QShowEvent* event) override;
    QLabel* AddFact(QFormLayout& form, const QString& name, const char* objectName);

    ProjectSession& session_;
    QLabel *server_, *user_, *role_, *folder_, *space_;
    SYCB::MessageLoopExecutor home_;
    OV::PooledExecutor worker_{0, 1, 0};
};
