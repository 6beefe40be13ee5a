#pragma once

#include "ProjectOpener.hpp"
#include "ProjectPage.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "StartPage.hpp"

#include <QMainWindow>

#include <functional>
#include <memory>

class QStackedWidget;
class QSystemTrayIcon;

/// The window of the program: the start page, or the project that is open. Another project is
/// opened by another process.
class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    using Login = SYC::Inner::ProjectConnectionInfo;

    /// `dataFolder` is where the caches stand.
    explicit MainWindow(IO::Location dataFolder);
    ~MainWindow() override;

    /// As if it had been chosen on the start page.
    void Open(Login login);
    /// See StartPage::AddServer.
    void AddServer(const Login& known) { start_->AddServer(known); }
    /// Opens a project beside the one that is open; the program starts itself.
    std::function<void(const Login&)> openElsewhere;

private:
    void closeEvent(QCloseEvent* event) override;

    void MakeMenus();
    void Follow(const ProjectSession::Project& project, bool hasServerSession);
    /// False when the user keeps it open.
    bool CloseProject();
    void Say(const QString& text);
    void AskForNewSession(const QString& why);
    void TellMails(int count, const QStringList& senders, const QString& firstText);
    void UpdateMenus();
    void RememberPlace();

    const IO::Location dataFolder_;
    SYCB::MessageLoopExecutor executor_;
    QStackedWidget* pages_;
    StartPage* start_;
    ProjectOpener opener_;
    QSystemTrayIcon* tray_ = nullptr;
    QList<QAction*> projectActions_;
    QList<QAction*> pageActions_;
    // The page goes before its session.
    std::unique_ptr<ProjectSession> session_;
    std::unique_ptr<ProjectPage> page_;
};
