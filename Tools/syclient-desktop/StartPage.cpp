#include "StartPage.hpp"

#include "CleanUp.hpp"
#include "ComputerName.hpp"
#include "OVRoot/Exception.hpp"
#include "Passwords.hpp"
#include "ProjectStatusText.hpp"
#include "RegisteredProjects.hpp"
#include "SyncraURL.hpp"
#include "UserInterface/ConnectDialog.hpp"
#include "UserInterface/ProjectDialogs.hpp"
#include "Words.hpp"

#include <QBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

namespace {

constexpr int NumberRole = CardRole + 1;

bool IsSamePlace(const StartPage::Login& a, const StartPage::Login& b)
{
    return a.port == b.port &&
           ToQt(a.serverName).compare(ToQt(b.serverName), Qt::CaseInsensitive) == 0;
}

bool IsSameServer(const StartPage::Login& a, const StartPage::Login& b)
{
    return a.userName == b.userName && IsSamePlace(a, b);
}

QString NameOf(const StartPage::Login& login)
{
    return Words::ServerName(ToQt(login.serverName), login.port);
}

QStandardItem* MakeItem(const Card& card, int number)
{
    auto* item = new QStandardItem;
    item->setData(QVariant::fromValue(card), CardRole);
    item->setData(ToSpeech(card), Qt::AccessibleTextRole);
    item->setData(number, NumberRole);
    item->setEditable(false);
    if (card.isHeading)
        item->setFlags(Qt::NoItemFlags);
    return item;
}

Card MakeHeading(const QString& text)
{
    Card card;
    card.title = text;
    card.isHeading = true;
    return card;
}

}  // namespace

StartPage::StartPage(IO::Location dataFolder, QWidget* parent)
    : QWidget(parent), dataFolder_(std::move(dataFolder)),
      discovery_(dataFolder_, {worker_, home_}), browse_({}, dataFolder_, {worker_, home_}),
      discoveryWatch_(discovery_, [this] { ServersChanged(); }),
      browseWatch_(browse_, [this] { BrowseChanged(); })
{
    auto* column = new QVBoxLayout(this);
    const int margin = 2 * fontMetrics().height();
    column->setContentsMargins(margin, margin, margin, margin);
    auto* title = new QLabel(tr("Shared projects"), this);
    QFont large = title->font();
    large.setBold(true);
    large.setPointSizeF(large.pointSizeF() * 1.6);
    title->setFont(large);
    column->addWidget(title);
    OV::UniString computer;
    SYC::GetClientComputerName(computer);
    auto* subtitle = new QLabel(
        tr("On this computer, %1, and on the servers you know").arg(ToQt(computer)), this);
    subtitle->setTextFormat(Qt::PlainText);
    column->addWidget(subtitle);
    column->addSpacing(margin / 2);
    auto* row = new QHBoxLayout;
    row->setSpacing(margin);
    row->addWidget(MakeProjects(), 3);
    row->addWidget(MakeServers(), 1);
    column->addLayout(row, 1);
    Refresh();
    ShowServers();
}

StartPage::~StartPage()
{
    worker_.Cancel();
}

QWidget* StartPage::MakeProjects()
{
    auto* box = new QWidget(this);
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins({});
    const auto addLabel = [&](QBoxLayout& layout, const char* name) {
        auto* label = new QLabel(box);
        label->setObjectName(name);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->hide();
        layout.addWidget(label, 1);
        return label;
    };
    problem_ = addLabel(*column, "problem");
    column->setStretch(0, 0);
    auto* line = new QHBoxLayout;
    progress_ = addLabel(*line, "progress");
    cancel_ = new QPushButton(tr("Cancel"), box);
    cancel_->setObjectName("cancel");
    cancel_->hide();
    connect(cancel_, &QPushButton::clicked, this, &StartPage::CancelWanted);
    line->addWidget(cancel_);
    column->addLayout(line);
    projects_ = new CardList("projects", tr("Projects"), box);
    projects_->setModel(&projectModel_);
    projects_->setContextMenuPolicy(Qt::CustomContextMenu);
    column->addWidget(projects_, 1);
    empty_ = addLabel(*column, "empty");
    empty_->setText(
        tr("No project is on this computer yet. Add a server, and join one of its projects."));
    empty_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    connect(projects_, &CardList::Chosen, this, [this](const QModelIndex& index) {
        if (const Row* chosen = RowAt(index))
            Choose(*chosen);
    });
    connect(projects_, &QWidget::customContextMenuRequested, this, &StartPage::ShowMenu);
    return box;
}

QWidget* StartPage::MakeServers()
{
    auto* box = new QWidget(this);
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins({});
    auto* label = new QLabel(tr("Se&rvers"), box);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    column->addWidget(label);
    servers_ = new CardList("servers", tr("Servers"), box);
    servers_->setModel(&serverModel_);
    label->setBuddy(servers_);
    column->addWidget(servers_, 1);
    connect(servers_, &CardList::Chosen, this, [this](const QModelIndex& index) {
        ChooseServer(static_cast<std::size_t>(index.data(NumberRole).toInt()));
    });
    connect(servers_, &QListView::clicked, this, [this](const QModelIndex& index) {
        ChooseServer(static_cast<std::size_t>(index.data(NumberRole).toInt()));
    });
    auto* add = new QPushButton(tr("&Add a Server ..."), box);
    add->setObjectName("addServer");
    connect(add, &QPushButton::clicked, this, [this] { AddServer({}); });
    column->addWidget(add);
    share_ = new QPushButton(tr("S&hare a Project ..."), box);
    share_->setObjectName("share");
    share_->setEnabled(false);
    connect(share_, &QPushButton::clicked, this, &StartPage::ShareProject);
    column->addWidget(share_);
    return box;
}

void StartPage::Refresh()
{
    (void)worker_.Execute(OV::MakeTask([this] {
        auto rows = std::make_shared<Rows>();
        QString problem;
        try {
            auto& registry = SYC::registeredProjects();
            OV::Array<SYC::CacheInfoRecord> records;
            OV::Array<SYC::RegisteredProject> projects;
            registry.RefreshCaches(dataFolder_);
            registry.SearchCaches(dataFolder_, records);
            registry.FillProjects(projects, {}, {}, {}, records);
            for (const auto& record : records)
                if (!record.info)
                    problem = ToQt(record.problem);
            // The one that was used last comes first.
            std::stable_sort(projects.begin(), projects.end(), [](const auto& a, const auto& b) {
                return a.GetLastOpenedTime() > b.GetLastOpenedTime();
            });
            for (const auto& project : projects) {
                const auto& cache = project.GetCachedProjectInfo();
                Row& row = rows->emplace_back();
                cache.GetProjectConnectionInfo(row.login);
                row.login.password = {};
                row.folder = project.GetCacheDataFolderLocation();
                row.card.title = ToQt(row.login.projectName);
                row.card.isStrong = true;
                row.card.subtitle = NameOf(row.login) + " · " + ToQt(row.login.userName);
                if (!cache.GetCategoryName().empty())
                    row.card.subtitle += " · " + ToQt(cache.GetCategoryName());
                const bool isUnsent = SYC::HasUnsentWork(cache);
                row.card.badge =
                    isUnsent ? tr("unsent work")
                             : ToQt(SYC::GetProjectStatusText(SYC::GetCachedProjectFacts(cache)));
                row.card.tone = isUnsent ? Card::Tone::Attention : Card::Tone::Good;
                row.card.aside =
                    project.GetLastOpenedTime() == 0
                        ? tr("never opened")
                        : tr("opened %1").arg(Words::When(project.GetLastOpenedTime()));
                row.card.action = tr("Open");
            }
        } catch (const OV::Exception& error) {
            problem = ToQt(error.GetMessage());
        }
        // The executor ends with the page, before anything else of it.
        (void)home_.Execute(OV::MakeTask([this, rows, problem] { TakeCached(rows, problem); }));
    }));
    discovery_.Refresh();
    if (server_ && !browse_.IsRunning())
        browse_.Refresh();
}

void StartPage::TakeCached(std::shared_ptr<const Rows> rows, const QString& problem)
{
    cached_ = *rows;
    if (!problem.isEmpty())
        ShowProblem(problem);
    ShowRows();
}

void StartPage::ServersChanged()
{
    if (discovery_.GetState() == SYC::FlowState::Failed)
        ShowProblem(Words::ReasonOf(discovery_.GetFailure()));
    for (const auto& server : discovery_.GetServers()) {
        Login login;
        login.serverName = server.host;
        login.port = server.port == 0 ? SYC::UsualPort : server.port;
        for (const auto& user : server.users) {
            login.userName = user;
            AddKnownServer(login, server.isFound);
        }
        if (server.users.empty())
            AddKnownServer(login, server.isFound);
    }
    // The first server whose password is remembered is looked at unasked.
    for (std::size_t at = 0; at < knownServers_.size() && !server_; ++at)
        if (!Passwords::Find(knownServers_[at].userName, knownServers_[at].serverName).empty())
            ChooseServer(at);
    ShowServers();
}

void StartPage::AddKnownServer(const Login& login, bool isFound)
{
    // One without a user stands for all who may sign in there.
    if (std::any_of(knownServers_.begin(), knownServers_.end(), [&](const Login& each) {
            return login.userName.empty() ? IsSamePlace(each, login) : IsSameServer(each, login);
        }))
        return;
    std::erase_if(knownServers_, [&](const Login& each) {
        return each.userName.empty() && IsSamePlace(each, login);
    });
    Login& server = knownServers_.emplace_back(login);
    server.projectName.clear();
    server.password = {};
    server.flag = isFound;
}

void StartPage::ShowServers()
{
    const int selected = servers_->currentIndex().row();
    serverModel_.clear();
    for (std::size_t at = 0; at < knownServers_.size(); ++at) {
        const Login& login = knownServers_[at];
        Card card;
        card.title = NameOf(login);
        card.isStrong = true;
        card.dot = Card::Dot::Quiet;
        card.subtitle = !login.userName.empty() ? ToQt(login.userName)
                        : login.flag            ? tr("found in this network")
                                                : tr("nobody signed in yet");
        if (server_ && IsSameServer(*server_, login)) {
            switch (browse_.GetState()) {
            case SYC::FlowState::Succeeded:
                card.dot = Card::Dot::Good;
                card.subtitle = tr("signed in as %1").arg(ToQt(login.userName));
                break;
            case SYC::FlowState::Running:
                card.subtitle = ToQt(browse_.GetProgress());
                break;
            case SYC::FlowState::Failed:
                card.dot = Card::Dot::Bad;
                card.subtitle = Words::ReasonOf(browse_.GetFailure());
                break;
            default:
                break;
            }
        }
        serverModel_.appendRow(MakeItem(card, static_cast<int>(at)));
    }
    if (selected >= 0)
        servers_->setCurrentIndex(serverModel_.index(selected, 0));
}

void StartPage::ChooseServer(std::size_t number)
{
    if (number >= knownServers_.size())
        return;
    Login login = knownServers_[number];
    if (server_ && IsSameServer(*server_, login)) {
        browse_.Refresh();
        return;
    }
    login.password = Passwords::Find(login.userName, login.serverName);
    if (login.password.empty())
        AddServer(login);
    else
        AskServer(login);
}

void StartPage::AddServer(const Login& known)
{
    SYC::ConnectDialog dialog(dataFolder_, {known.serverName, known.port, known.userName, {}});
    if (!dialog.Invoke())
        return;
    const auto& signedIn = dialog.GetLogin();
    Login login;
    login.serverName = signedIn.serverName;
    login.port = signedIn.port;
    login.userName = signedIn.userName;
    login.password = signedIn.password;
    AddKnownServer(login, false);
    AskServer(login);
}

void StartPage::AskServer(const Login& login)
{
    server_ = login;
    ShowProblem({});
    browse_.SetLogin({login.serverName, login.port, login.userName, login.password});
    browse_.Refresh();
}

void StartPage::ShareProject()
{
    if (SYC::ShareProjectWithDialogs(browse_.GetLogin()).IsEmpty())
        return;
    browse_.Refresh();
}

void StartPage::BrowseChanged()
{
    share_->setEnabled(browse_.GetState() == SYC::FlowState::Succeeded);
    if (browse_.GetState() == SYC::FlowState::Failed)
        ShowProblem(Words::ReasonOf(browse_.GetFailure()));
    else if (browse_.GetState() == SYC::FlowState::Succeeded)
        ShowProblem({});
    ShowServers();
    ShowRows();
}

StartPage::Row StartPage::RowOf(const SYC::BrowsedProject& project) const
{
    Row row;
    row.login = *server_;
    row.login.projectName = project.name;
    row.card.title = ToQt(project.name);
    row.card.isStrong = true;
    QStringList facts;
    if (!project.category.empty())
        facts += ToQt(project.category);
    facts += tr("%n member(s)", nullptr, static_cast<int>(project.members));
    if (project.atWork > 0)
        facts += tr("%n working now", nullptr, static_cast<int>(project.atWork));
    row.card.subtitle = facts.join(" · ");
    const bool isMember = project.membership == SYC::BrowsedProject::Membership::Member;
    const bool isActive =
        !project.state || *project.state == Syncra::Protocol::ProjectState::Active;
    row.card.badge =
        isMember ? (isActive ? QString() : ToQt(project.GetStateText())) : tr("not a member");
    row.card.tone = isActive ? Card::Tone::Plain : Card::Tone::Attention;
    row.card.action = isMember ? tr("Join") : QString();
    row.mayOpen = isMember;
    return row;
}

void StartPage::ShowRows()
{
    const Row* const former = RowAt(projects_->currentIndex());
    const auto selected = former != nullptr ? std::optional(former->login) : std::nullopt;
    rows_.clear();
    projectModel_.clear();
    const auto add = [this](Row row) {
        projectModel_.appendRow(MakeItem(row.card, static_cast<int>(rows_.size())));
        rows_.push_back(std::move(row));
    };
    if (!cached_.empty())
        projectModel_.appendRow(MakeItem(MakeHeading(tr("On this computer")), -1));
    for (Row row : cached_) {
        // The server knows better what has become of it.
        if (server_ && IsSameServer(*server_, row.login))
            if (const auto* found = browse_.Find(row.login.projectName);
                found != nullptr && found->state) {
                if (*found->state != Syncra::Protocol::ProjectState::Active &&
                    !found->hasUnsentWork) {
                    row.card.badge = ToQt(found->GetStateText());
                    row.card.tone = Card::Tone::Attention;
                }
                if (found->atWork > 0)
                    row.card.subtitle +=
                        " · " + tr("%n working now", nullptr, static_cast<int>(found->atWork));
            }
        add(std::move(row));
    }
    if (server_) {
        bool isHeaded = false;
        for (const auto& project : browse_.GetProjects()) {
            if (project.IsCached())
                continue;
            if (!std::exchange(isHeaded, true))
                projectModel_.appendRow(
                    MakeItem(MakeHeading(tr("On %1").arg(NameOf(*server_))), -1));
            add(RowOf(project));
        }
    }
    const bool isEmpty = rows_.empty();
    empty_->setVisible(isEmpty);
    projects_->setVisible(!isEmpty);
    QModelIndex current;
    for (int at = 0; at < projectModel_.rowCount(); ++at) {
        const auto index = projectModel_.index(at, 0);
        const Row* const row = RowAt(index);
        if (row == nullptr)
            continue;
        const bool isFormer = selected && IsSameServer(row->login, *selected) &&
                              row->login.projectName == selected->projectName;
        if (!current.isValid() || isFormer)
            current = index;
    }
    projects_->setCurrentIndex(current);
}

const StartPage::Row* StartPage::RowAt(const QModelIndex& index) const
{
    const int number = index.isValid() ? index.data(NumberRole).toInt() : -1;
    return number >= 0 && static_cast<std::size_t>(number) < rows_.size()
               ? &rows_[static_cast<std::size_t>(number)]
               : nullptr;
}

void StartPage::Choose(const Row& row)
{
    if (!row.mayOpen) {
        ShowProblem(tr("You are no member of \"%1\". Ask one of its managers to add you.")
                        .arg(row.card.title));
        return;
    }
    auto login = row.login;
    if (server_ && IsSameServer(*server_, login))
        login.password = server_->password;
    emit OpenWanted(login);
}

void StartPage::ShowProgress(const QString& text)
{
    progress_->setText(text);
    progress_->setVisible(!text.isEmpty());
    cancel_->setVisible(!text.isEmpty());
    projects_->setEnabled(text.isEmpty());
    if (!text.isEmpty())
        ShowProblem({});
}

void StartPage::ShowProblem(const QString& text)
{
    problem_->setText(text);
    problem_->setVisible(!text.isEmpty());
}

void StartPage::ShowMenu(const QPoint& place)
{
    const Row* const found = RowAt(projects_->indexAt(place));
    if (found == nullptr)
        return;
    const Row row = *found;
    QMenu menu(this);
    connect(menu.addAction(row.folder.IsEmpty() ? tr("&Join") : tr("&Open")), &QAction::triggered,
            this, [=, this] { Choose(row); });
    if (!row.folder.IsEmpty())
        connect(menu.addAction(tr("&Remove from this Computer ...")), &QAction::triggered, this,
                [=, this] { Leave(row.login); });
    menu.exec(projects_->viewport()->mapToGlobal(place));
}

void StartPage::Leave(const Login& login)
{
    leavingName_ = ToQt(login.projectName);
    isLeaveAgreed_ = false;
    leaveWatch_.reset();
    auto known = login;
    if (known.password.empty())
        known.password = server_ && IsSameServer(*server_, login)
                             ? server_->password
                             : Passwords::Find(login.userName, login.serverName);
    leave_ = std::make_unique<SYC::LeaveProject>(SYC::ToSyncraLocation(known), dataFolder_,
                                                 SYC::FlowExecutors{worker_, home_});
    leaveWatch_ = std::make_unique<FlowWatch>(*leave_, [this] { LeaveChanged(); });
    leave_->Look();
}

void StartPage::LeaveChanged()
{
    ShowProgress(leave_->IsRunning() ? ToQt(leave_->GetProgress()) : QString());
    if (leave_->IsRunning())
        return;
    if (leave_->GetState() != SYC::FlowState::Succeeded) {
        ShowProblem(Words::ReasonOf(leave_->GetFailure()));
        Refresh();
        return;
    }
    if (isLeaveAgreed_) {
        Refresh();
        return;
    }
    const auto found = *leave_->GetFound();
    QMessageBox box(QMessageBox::Warning, window()->windowTitle(),
                    tr("Leave \"%1\" and remove it from this computer?").arg(leavingName_),
                    QMessageBox::Cancel, this);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(found.hasUnsentWork
                               ? tr("Work that was not sent is lost. You stay a member, and the "
                                    "project stays on its server.")
                               : tr("You stay a member, and the project stays on its server."));
    const auto* agreed = box.addButton(tr("Leave"), QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() != agreed)
        return;
    isLeaveAgreed_ = true;
    leave_->Leave({.removeCache = true, .discardUnsent = found.hasUnsentWork});
}
