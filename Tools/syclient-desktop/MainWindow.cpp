#include "MainWindow.hpp"

#include "AuthenticateOnCache.hpp"
#include "BinCacheHandler/BinCacheHandler.hpp"
#include "Charts.hpp"
#include "DesktopText.hpp"
#include "EventLogUpdater.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "ProjectStatusText.hpp"
#include "ReadProjectConnection.hpp"
#include "RegisteredProjects.hpp"
#include "StartCheck.hpp"
#include "SyncraURL.hpp"
#include "UserInterface/CloseProjectDialog.hpp"
#include "UserInterface/ProjectLogViewerDlg_14.hpp"
#include "UserInterface/UserPhoto.hpp"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTableWidget>

#include <algorithm>

namespace {

namespace Core = Syncra::Server::ManagementTool::Core;
using ProjectLogViewer = Syncra::Server::ManagementTool::GUI::ProjectLogViewerDlg_14;

constexpr int PhotoWidth = 50;
constexpr int PhotoHeight = 60;

QString ReasonOf(const SYC::Failure& failure)
{
    return ::ToQt(failure.sentence + u" " + failure.advice);
}

/// The same pixels; the image keeps a copy.
QImage ToQt(const NewDisplay::NativeImage& image)
{
    return QImage(reinterpret_cast<const uchar*>(image.GetPixels().data()), image.GetWidth(),
                  image.GetHeight(), QImage::Format_ARGB32_Premultiplied)
        .copy();
}

}  // namespace

MainWindow::MainWindow(IO::Location dataFolder) : dataFolder_(std::move(dataFolder))
{
    setWindowTitle("Shared Projects");
    auto* content = new QWidget(this);
    auto* columns = new QHBoxLayout(content);
    auto* left = new QVBoxLayout;
    left->addWidget(MakeForm());
    left->addWidget(MakeProjects(), 1);
    columns->addLayout(left, 3);
    columns->addWidget(MakeMembers(), 2);
    setCentralWidget(content);
    resize(920, 560);
    ShowCached();
    UpdateButtons();
    Say("Not connected.");
}

MainWindow::~MainWindow()
{
    if (opening_)
        opening_->request_stop();
    if (opened_ && opened_->members)
        opened_->members->Detach(*this);
}

QLineEdit* MainWindow::AddField(QFormLayout& form, const QString& label, const QString& name)
{
    auto* field = new QLineEdit(this);
    field->setObjectName(name);
    field->setAccessibleName(QString(label).remove('&').remove(':'));
    form.addRow(label, field);
    connect(field, &QLineEdit::returnPressed, this, [this] { Connect(); });
    return field;
}

QWidget* MainWindow::MakeForm()
{
    auto* box = new QWidget(this);
    auto* form = new QFormLayout(box);
    form->setContentsMargins({});
    server_ = AddField(*form, "&Server:", "server");
    port_ = new QSpinBox(this);
    port_->setObjectName("port");
    port_->setRange(1, 65535);
    port_->setValue(19001);
    port_->setAccessibleName("Port");
    form->addRow("Por&t:", port_);
    user_ = AddField(*form, "&User:", "user");
    password_ = AddField(*form, "Pass&word:", "password");
    password_->setEchoMode(QLineEdit::Password);
    auto* button = new QPushButton("&Connect", this);
    button->setObjectName("connect");
    connect(button, &QPushButton::clicked, this, [this] { Connect(); });
    form->addRow(QString(), button);
    return box;
}

QWidget* MainWindow::MakeProjects()
{
    auto* box = new QWidget(this);
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins({});
    auto* label = new QLabel("&Projects:", this);
    projects_ = new QTableWidget(0, 4, this);
    projects_->setObjectName("projects");
    projects_->setAccessibleName("Projects of the server");
    projects_->setHorizontalHeaderLabels({"Name", "Category", "State", "On this computer"});
    projects_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    projects_->horizontalHeader()->setSectionResizeMode(3, QHeaderView::ResizeToContents);
    projects_->verticalHeader()->hide();
    projects_->setSelectionBehavior(QAbstractItemView::SelectRows);
    projects_->setSelectionMode(QAbstractItemView::SingleSelection);
    projects_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    projects_->setTabKeyNavigation(false);
    label->setBuddy(projects_);
    open_ = new QPushButton("&Open", this);
    open_->setObjectName("open");
    close_ = new QPushButton("C&lose Project...", this);
    close_->setObjectName("close");
    connect(projects_, &QTableWidget::itemSelectionChanged, this, [this] {
        TakeLoginOf(projects_->currentRow());
        UpdateButtons();
    });
    connect(projects_, &QTableWidget::itemActivated, this, [this] { Open(); });
    connect(open_, &QPushButton::clicked, this, [this] { Open(); });
    connect(close_, &QPushButton::clicked, this, [this] { Close(); });
    log_ = new QPushButton("Pro&ject Log...", this);
    log_->setObjectName("log");
    charts_ = new QPushButton("Stat&istics...", this);
    charts_->setObjectName("statistics");
    connect(log_, &QPushButton::clicked, this, [this] { ShowLog(); });
    connect(charts_, &QPushButton::clicked, this, [this] { ShowCharts(); });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(log_);
    buttons->addWidget(charts_);
    buttons->addStretch();
    buttons->addWidget(open_);
    buttons->addWidget(close_);
    column->addWidget(label);
    column->addWidget(projects_, 1);
    column->addLayout(buttons);
    return box;
}

QWidget* MainWindow::MakeMembers()
{
    auto* box = new QWidget(this);
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins({});
    auto* label = new QLabel("&Members of the open project:", this);
    members_ = new QListWidget(this);
    members_->setObjectName("members");
    members_->setAccessibleName("Members of the open project");
    members_->setIconSize({PhotoWidth, PhotoHeight});
    label->setBuddy(members_);
    column->addWidget(label);
    column->addWidget(members_, 1);
    return box;
}

void MainWindow::SetLogin(const QString& server, int port, const QString& user)
{
    server_->setText(server);
    port_->setValue(port);
    user_->setText(user);
    (user.isEmpty() ? user_ : password_)->setFocus();
}

SYC::Inner::ProjectConnectionInfo MainWindow::Login() const
{
    SYC::Inner::ProjectConnectionInfo info;
    info.serverName = FromQt(server_->text().trimmed());
    info.port = static_cast<std::uint16_t>(port_->value());
    info.userName = FromQt(user_->text());
    info.password = FromQt(password_->text());
    return info;
}

void MainWindow::Say(const QString& text)
{
    statusBar()->showMessage(text);
}

void MainWindow::Connect()
{
    const auto login = Login();
    if (login.serverName.empty() || login.userName.empty()) {
        Say("Type the server and the user first.");
        return;
    }
    for (;;) {
        Say("Connecting to " + ::ToQt(login.serverName) + " ...");
        const auto task = OV::MakeRef<ServerTasks::ListProjects>(Syncra::Client::SignInData{
            login.serverName, login.port, login.userName, login.password});
        if (ServerTasks::Run(task)) {
            ShowProjects(task->projects);
            return;
        }
        projects_->setRowCount(0);
        projectIds_.clear();
        cached_.clear();
        UpdateButtons();
        if (!task->refusal.empty()) {
            Say(::ToQt(task->refusal));
            return;
        }
        Say("Not connected.");
        if (Core::UserAsyncTaskExecutingImplementation::Current().ShowAlert(
                Core::ErrorType::CannotConnect, {}, nullptr) !=
            Core::UserAsyncTaskExecutingImplementation::TryAgain)
            return;
    }
}

void MainWindow::ShowCached()
{
    auto& registry = SYC::registeredProjects();
    OV::Array<SYC::RegisteredProject> projects;
    try {
        OV::Array<SYC::CacheInfoRecord> records;
        registry.RefreshCaches(dataFolder_);
        registry.SearchCaches(dataFolder_, records);
        registry.FillProjects(projects, {}, {}, {}, records);
        for (const auto& record : records)
            if (!record.info)
                Say(::ToQt(record.problem));
    } catch (const std::exception& error) {
        Say(QString::fromUtf8(error.what()));
    }
    for (const auto& project : projects) {
        const auto& cache = project.GetCachedProjectInfo();
        auto& login = cached_.emplace_back();
        cache.GetProjectConnectionInfo(login);
        login.password = {};
        const int row = projects_->rowCount();
        projects_->insertRow(row);
        const QString cells[] = {
            ::ToQt(login.projectName),
            QString("%1:%2").arg(::ToQt(login.serverName)).arg(login.port), "not connected",
            ::ToQt(SYC::GetProjectStatusText(SYC::GetCachedProjectFacts(cache)))};
        for (int column = 0; column < 4; ++column)
            projects_->setItem(row, column, new QTableWidgetItem(cells[column]));
    }
}

void MainWindow::TakeLoginOf(int row)
{
    if (row < 0 || static_cast<std::size_t>(row) >= cached_.size())
        return;
    const auto& login = cached_[static_cast<std::size_t>(row)];
    server_->setText(::ToQt(login.serverName));
    port_->setValue(login.port);
    user_->setText(::ToQt(login.userName));
}

void MainWindow::ShowProjects(const OV::Array<Syncra::Protocol::Project>& projects)
{
    projects_->setRowCount(0);
    projectIds_.clear();
    cached_.clear();
    for (const auto& project : projects) {
        projectIds_.push_back(project.id);
        const int row = projects_->rowCount();
        projects_->insertRow(row);
        auto info = Login();
        info.projectName = project.name;
        const SYC::ClientProjectConnectionManager lookUp(SYC::ToSyncraLocation(info), dataFolder_,
                                                         {});
        const QString cells[] = {::ToQt(project.name), ::ToQt(project.category),
                                 ::ToQt(SYC::GetServerStateText(project.state)),
                                 lookUp.FindCache() ? "joined" : "not yet"};
        for (int column = 0; column < 4; ++column)
            projects_->setItem(row, column, new QTableWidgetItem(cells[column]));
    }
    if (projects_->rowCount() > 0) {
        projects_->selectRow(0);
        projects_->setFocus();
    }
    Say(QString("Connected: %1 projects.").arg(projects_->rowCount()));
    UpdateButtons();
}

void MainWindow::Open()
{
    if (opening_) {
        opening_->request_stop();
        return;
    }
    const auto selected = projects_->selectedItems();
    if (selected.isEmpty())
        return;
    auto info = Login();
    info.projectName = FromQt(selected.front()->text());  // the table may change while one is asked
    if (!Close())
        return;
    Check(std::make_shared<SYC::ClientProjectConnectionManager>(SYC::ToSyncraLocation(info),
                                                                dataFolder_, nullptr),
          info.projectName, false);
}

void MainWindow::Check(OpenedManager manager, OV::UniString name, bool takeOver)
{
    opening_.emplace();
    UpdateButtons();
    SYC::CheckOptions options;
    options.forceOnline = true;
    options.allowTakeover = takeOver;
    options.stop = opening_->get_token();
    options.progress = [this, name](SYC::CheckStep step) {
        Say(::ToQt(name) + ": " + ::ToQt(SYC::ToText(step)) + " ...");
    };
    const auto connection = std::make_shared<SYC::ReadProjectConnection>(manager.get());
    SYC::StartCheck(connection, std::move(options), opener_, executor_,
                    [=, this](SYC::CheckResult result, const SYC::Failure& failure) {
                        opening_.reset();
                        UpdateButtons();
                        if (result == SYC::CheckResult::Passed)
                            Follow(connection->GetProjectId(), manager, name);
                        else
                            TellNotOpened(manager, name, takeOver, result, failure);
                    });
}

void MainWindow::TellNotOpened(const OpenedManager& manager, const OV::UniString& name,
                               bool hasTakenOver, SYC::CheckResult result,
                               const SYC::Failure& failure)
{
    Say(ReasonOf(failure));
    if (failure.kind == SYC::FailureKind::Cancelled)
        return;
    if (result == SYC::CheckResult::Offline)
        OpenOffline(manager, name);
    else if (result == SYC::CheckResult::SessionInUse && !hasTakenOver &&
             QMessageBox::question(this, windowTitle(), ReasonOf(failure) + "\n\nTake it over?") ==
                 QMessageBox::Yes)
        Check(manager, name, true);
}

void MainWindow::Follow(const OV::UniString& projectId, OpenedManager manager, OV::UniString name)
{
    opened_ = std::make_unique<Opened>();
    opened_->manager = std::move(manager);
    opened_->name = std::move(name);
    opened_->manager->StartSignals(projectId);
    opened_->members = std::make_unique<SYC::ProjectMembers>(opened_->manager->GetSignalClient(),
                                                             *opened_->manager, executor_);
    opened_->members->Attach(*this);
    opened_->members->Init();
    Say("Open: " + ::ToQt(opened_->name));
    for (QTableWidgetItem* item :
         projects_->findItems(::ToQt(opened_->name), Qt::MatchExactly | Qt::MatchCaseSensitive))
        if (item->column() == 0)
            projects_->item(item->row(), 3)->setText("joined");
    UpdateButtons();
}

void MainWindow::OpenOffline(OpenedManager manager, OV::UniString name)
{
    if (!manager->FindCache()) {
        return;  // why the server cannot be worked with stands there already
    }
    try {
        if (!SYC::AuthenticateOnCache(manager.get(), false))
            return;
    } catch (const std::exception& error) {
        Say(QString("Offline, and not opened: ") + error.what());
        return;
    }
    opened_ = std::make_unique<Opened>();
    opened_->manager = std::move(manager);
    opened_->name = std::move(name);
    Say("Open offline: " + ::ToQt(opened_->name));
    UpdateButtons();
}

bool MainWindow::Close()
{
    if (!opened_)
        return true;
    const auto opened = opened_->manager;  // lives through the nested loops of the dialogs
    auto& manager = *opened;
    const auto cache = manager.FindCache();
    const bool isOnline = manager.GetSignalClient().GetPresenceService().IsOnline();
    SYC::CloseProjectDialog dialog(isOnline, false, cache && cache->IsChanges(), false,
                                   cache && cache->IsProjectForcedOffline(),
                                   cache && cache->IsReservation(), opened_->name);
    if (!dialog.Invoke())
        return false;
    if (cache && dialog.GetResult() == SYC::CloseProjectDialog::Result::Discard)
        cache->SetUnsentChanges(false);
    if (!opened_ || opened_->manager != opened)
        return true;
    if (opened_->members)
        opened_->members->Detach(*this);
    opened_->members.reset();
    manager.StopSignals();
    const auto closing = OV::MakeRef<ServerTasks::CloseProject>(opened);
    if (isOnline && !ServerTasks::Run(closing))
        Say("Closed here; the server's session is still open. " + ReasonOf(closing->failure));
    else
        Say("Closed.");
    opened_.reset();
    members_->clear();
    UpdateButtons();
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (opening_)
        opening_->request_stop();
    event->setAccepted(Close());
}

LogSource MainWindow::Source() const
{
    auto login = Login();
    LogSource source;
    source.host = login.serverName;
    source.port = login.port;
    source.userName = login.userName;
    source.password = login.password;
    return source;
}

void MainWindow::ShowLog()
{
    const int row = projects_->currentRow();
    if (row < 0)
        return;
    try {
        SYC::BinCacheHandler cache(Source().GetCacheName());
        ProjectLogViewer viewer(projectIds_.at(static_cast<std::size_t>(row)),
                                FromQt(projects_->item(row, 0)->text()));
        EventLogUpdater updater(Source(), cache);
        updater.Attach(viewer);
        updater.Start();
        (void)viewer.Invoke();
        updater.Detach(viewer);
    } catch (const OV::Exception& error) {
        Say(::ToQt(error.GetMessage()));
    }
}

void MainWindow::ShowCharts()
{
    const auto task = OV::MakeRef<ServerTasks::UpdateStatistics>(Source());
    if (ServerTasks::Run(task))
        Charts::Show(this, task->data);
    else
        Say("The statistics could not be fetched.");
}

void MainWindow::UpdateButtons()
{
    log_->setEnabled(!projectIds_.empty() && !projects_->selectedItems().isEmpty());
    charts_->setEnabled(!projectIds_.empty());
    open_->setText(opening_ ? "&Cancel" : "&Open");
    open_->setEnabled(opening_ || !projects_->selectedItems().isEmpty());
    close_->setEnabled(opened_ != nullptr);
}

void MainWindow::_ProjectMembersChanged(SYC::ProjectMembers& members)
{
    members_->clear();
    std::vector<SYC::ProjectMembers::MemberId> ids;
    for (const auto& [id, user] : members.GetUserDataTable())
        ids.push_back(id);
    std::sort(ids.begin(), ids.end());
    for (const auto id : ids) {
        const auto& user = members.GetUserDataTable().at(id);
        const auto photo = SYC::GetUserPhoto(user.GetImage(), PhotoWidth, PhotoHeight, true,
                                             !user.HasNormalSession());
        auto* item = new QListWidgetItem(QIcon(QPixmap::fromImage(ToQt(photo))),
                                         ::ToQt(user.GetFullName()) + "\n" +
                                             (user.HasNormalSession() ? "working" : "away"));
        // Qt takes a tool tip that looks like markup for it, whoever made up the name.
        item->setToolTip("<span>" + ::ToQt(user.GetLoginName()).toHtmlEscaped() + "</span>");
        members_->addItem(item);
    }
}
