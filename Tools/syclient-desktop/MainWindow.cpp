#include "MainWindow.hpp"

#include "DesktopText.hpp"
#include "ServerTasks.hpp"
#include "UserInterface/CloseProjectDialog.hpp"
#include "UserSettings.hpp"
#include "Words.hpp"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyle>
#include <QSystemTrayIcon>

namespace {

void StartAnotherProgram(const MainWindow::Login& login)
{
    QProcess::startDetached(QCoreApplication::applicationFilePath(),
                            {"--server", ToQt(login.serverName), "--port",
                             QString::number(login.port), "--user", ToQt(login.userName),
                             "--project", ToQt(login.projectName)});
}

}  // namespace

MainWindow::MainWindow(IO::Location dataFolder)
    : openElsewhere(&StartAnotherProgram), dataFolder_(std::move(dataFolder)),
      pages_(new QStackedWidget(this)), start_(new StartPage(dataFolder_, this)),
      opener_(dataFolder_, executor_, *this)
{
    setWindowTitle(tr("Shared Projects"));
    pages_->addWidget(start_);
    setCentralWidget(pages_);
    resize(1180, 740);
    restoreGeometry(UserSettings::Read("geometry"));
    connect(start_, &StartPage::OpenWanted, this, &MainWindow::Open);
    connect(start_, &StartPage::CancelWanted, &opener_, &ProjectOpener::Cancel);
    connect(&opener_, &ProjectOpener::Progress, start_, &StartPage::ShowProgress);
    connect(&opener_, &ProjectOpener::Opened, this, &MainWindow::Follow);
    connect(&opener_, &ProjectOpener::NotOpened, this, [this](const QString& reason) {
        start_->ShowProgress({});
        start_->ShowProblem(reason);
        start_->Refresh();
    });
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        tray_ = new QSystemTrayIcon(
            windowIcon().isNull() ? style()->standardIcon(QStyle::SP_ComputerIcon) : windowIcon(),
            this);
        tray_->setToolTip(windowTitle());
        connect(tray_, &QSystemTrayIcon::activated, this, [this] {
            showNormal();
            activateWindow();
        });
        connect(tray_, &QSystemTrayIcon::messageClicked, this, [this] {
            showNormal();
            activateWindow();
        });
    }
    MakeMenus();
    UpdateMenus();
}

MainWindow::~MainWindow() = default;

void MainWindow::MakeMenus()
{
    const auto add = [this](QMenu& menu, const QString& text, const QKeySequence& keys, auto done,
                            bool ofProject) {
        QAction* action = menu.addAction(text);
        action->setShortcut(keys);
        connect(action, &QAction::triggered, this, done);
        if (ofProject)
            projectActions_ += action;
        return action;
    };
    auto& project = *menuBar()->addMenu(tr("&Project"));
    add(
        project, tr("&Close Project"), Qt::CTRL | Qt::Key_W, [this] { (void)CloseProject(); },
        true);
    project.addSeparator();
    add(
        project, tr("&Quit"), Qt::CTRL | Qt::Key_Q, [this] { close(); }, false);

    auto& mail = *menuBar()->addMenu(tr("&Mail"));
    add(
        mail, tr("&Write ..."), QKeySequence::New, [this] { page_->Mails().Write({}); }, true);
    add(
        mail, tr("&Reply ..."), Qt::CTRL | Qt::Key_R, [this] { page_->Mails().Reply(); }, true);
    add(
        mail, tr("&Forward ..."), Qt::CTRL | Qt::SHIFT | Qt::Key_F,
        [this] { page_->Mails().Forward(); }, true);
    mail.addSeparator();
    add(
        mail, tr("&Give"), Qt::CTRL | Qt::Key_Return, [this] { page_->Mails().Give(false); }, true);
    add(
        mail, tr("Give with a &Note ..."), Qt::CTRL | Qt::SHIFT | Qt::Key_Return,
        [this] { page_->Mails().Give(true); }, true);
    add(
        mail, tr("&Deny ..."), Qt::CTRL | Qt::Key_D, [this] { page_->Mails().Deny(); }, true);
    mail.addSeparator();
    add(
        mail, tr("De&lete"), Qt::CTRL | Qt::Key_Delete, [this] { page_->Mails().Delete(); }, true);
    add(
        mail, tr("&Search"), QKeySequence::Find,
        [this] {
            page_->ShowPage(ProjectPage::MailPageNumber);
            page_->Mails().FocusSearch();
        },
        true);
    add(
        mail, tr("Send what &Waits"), QKeySequence(),
        [this] {
            session_->TryNow();
            session_->Mails().FlushOutbox();
        },
        true);

    auto& view = *menuBar()->addMenu(tr("&View"));
    auto* group = new QActionGroup(this);
    const QString names[] = {tr("&Mail"), tr("&Activity"), tr("&Statistics"), tr("S&ettings")};
    for (int page = 0; page < ProjectPage::PageCount; ++page) {
        auto* action = add(
            view, names[page], Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + page),
            [this, page] { page_->ShowPage(page); }, true);
        group->addAction(action);
    }

    auto& connection = *menuBar()->addMenu(tr("&Connection"));
    add(
        connection, tr("Work &Offline or Online"), Qt::CTRL | Qt::SHIFT | Qt::Key_O,
        [this] { page_->ToggleOffline(); }, true);
    add(
        connection, tr("&Try Now"), Qt::Key_F5, [this] { session_->TryNow(); }, true);

    auto& help = *menuBar()->addMenu(tr("&Help"));
    add(
        help, tr("&About"), QKeySequence(),
        [this] {
            QMessageBox::about(this, windowTitle(),
                               tr("syclient-desktop %1\nShared design projects in a window.")
                                   .arg(QCoreApplication::applicationVersion()));
        },
        false);
}

void MainWindow::UpdateMenus()
{
    for (QAction* action : projectActions_)
        action->setEnabled(page_ != nullptr);
}

void MainWindow::Say(const QString& text)
{
    if (page_)
        page_->ShowMessage(text);
    else
        start_->ShowProblem(text);
}

void MainWindow::Open(Login login)
{
    if (session_) {
        openElsewhere(login);
        return;
    }
    start_->ShowProgress(tr("Opening %1 ...").arg(ToQt(login.projectName)));
    opener_.Open(std::move(login));
}

void MainWindow::Follow(const ProjectSession::Project& project, bool hasServerSession)
{
    start_->ShowProgress({});
    try {
        session_ = std::make_unique<ProjectSession>(project, hasServerSession, executor_);
    } catch (const OV::Exception& error) {
        start_->ShowProblem(ToQt(error.GetMessage()));
        return;
    }
    page_ = std::make_unique<ProjectPage>(*session_, executor_, this);
    page_->RestoreSizes(UserSettings::Read("sizes"));
    page_->ShowPage(std::clamp(UserSettings::Read("page").toInt(), 0,
                               static_cast<int>(ProjectPage::PageCount) - 1));
    connect(
        page_.get(), &ProjectPage::LeaveWanted, this,
        [this] {
            const auto login = session_->GetLogin();
            if (CloseProject())
                start_->Leave(login);
        },
        Qt::QueuedConnection);
    connect(session_.get(), &ProjectSession::SessionLost, this, &MainWindow::AskForNewSession);
    connect(session_.get(), &ProjectSession::MailsArrived, this, &MainWindow::TellMails);
    pages_->addWidget(page_.get());
    pages_->setCurrentWidget(page_.get());
    setWindowTitle(session_->GetName() + " - " + tr("Shared Projects"));
    UpdateMenus();
}

void MainWindow::RememberPlace()
{
    UserSettings::Write("geometry", saveGeometry());
    if (page_) {
        UserSettings::Write("sizes", page_->SaveSizes());
        UserSettings::Write("page", QByteArray::number(page_->CurrentPage()));
    }
}

bool MainWindow::CloseProject()
{
    if (!session_)
        return true;
    if (!page_->Mails().MayClose())
        return false;
    const auto manager = session_->GetManager();  // lives through the nested loops of the dialogs
    const auto cache = manager->FindCache();
    const bool isOnline = session_->GetState() == ProjectSession::State::Online;
    // Nobody is asked when there is nothing to decide.
    if (cache && (cache->IsChanges() || cache->IsReservation())) {
        SYC::CloseProjectDialog dialog(isOnline, false, cache->IsChanges(), false,
                                       cache->IsProjectForcedOffline(), cache->IsReservation(),
                                       FromQt(session_->GetName()));
        if (!dialog.Invoke() || !session_ || session_->GetManager() != manager)
            return !session_;
        if (dialog.GetResult() == SYC::CloseProjectDialog::Result::Discard)
            cache->SetUnsentChanges(false);
    }
    RememberPlace();
    pages_->removeWidget(page_.get());
    page_.reset();
    session_.reset();
    setWindowTitle(tr("Shared Projects"));
    UpdateMenus();
    pages_->setCurrentWidget(start_);
    if (isOnline) {
        const auto closing = OV::MakeRef<ServerTasks::CloseProject>(manager);
        if (!ServerTasks::Run(closing))
            start_->ShowProblem(tr("Closed here; the server's session is still open. %1")
                                    .arg(Words::ReasonOf(closing->failure)));
    }
    start_->Refresh();
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    opener_.Cancel();
    RememberPlace();
    event->setAccepted(CloseProject());
}

/// Goes with the project, and waits for nobody.
void MainWindow::AskForNewSession(const QString& why)
{
    auto* box =
        new QMessageBox(QMessageBox::Warning, session_->GetName(),
                        why.isEmpty() ? tr("Your session in this project ended elsewhere.") : why,
                        QMessageBox::NoButton, page_.get());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(tr("What you have not sent yet is still here. Begin a new session?"));
    const auto* agreed = box->addButton(tr("New Session"), QMessageBox::AcceptRole);
    box->setDefaultButton(box->addButton(tr("Not Now"), QMessageBox::RejectRole));
    connect(agreed, &QPushButton::clicked, session_.get(), &ProjectSession::BeginNewSession);
    box->open();
}

void MainWindow::TellMails(int count, const QStringList& senders, const QString& firstText)
{
    const QString text = tr("%n new mail(s) from %1", nullptr, count).arg(senders.join(", "));
    Say(text);
    if (!UserSettings::IsTellingMails() || isActiveWindow())
        return;
    QApplication::alert(this);
    if (tray_ != nullptr) {
        tray_->show();
        tray_->showMessage(session_->GetName(), text + "\n" + firstText.left(200));
    }
}
