#include "MembersPane.hpp"

#include "DesktopText.hpp"
#include "Faces.hpp"
#include "Words.hpp"

#include <QBoxLayout>
#include <QCollator>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

namespace {

constexpr int LoginRole = CardRole + 1;

struct Member {
    OV::UniString login;
    QString name;
    Card card;
    int group = 0;  ///< 0 works, 1 is present, 2 is away, 3 nobody knows
};

}  // namespace

MembersPane::MembersPane(ProjectSession& session, OV::Executor& home, QWidget* parent)
    : QWidget(parent), session_(session),
      list_(new CardList("members", tr("Members of the project"), this)),
      manage_({session.GetLogin().serverName, session.GetLogin().port, session.GetLogin().userName,
               session.GetLogin().password},
              session.GetProjectId(), {worker_, home}),
      manageWatch_(manage_, [this] { ManageChanged(); })
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(list_);
    list_->setMinimumWidth(fontMetrics().averageCharWidth() * 20);
    list_->setModel(&model_);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list_, &QWidget::customContextMenuRequested, this, &MembersPane::ShowMenu);
    connect(list_, &CardList::Chosen, this, [this](const QModelIndex& index) {
        if (const auto login = LoginOf(index); !login.empty())
            emit WriteWanted(login);
    });
    connect(&session_, &ProjectSession::MembersChanged, this, &MembersPane::Show);
    connect(&session_, &ProjectSession::StateChanged, this, [this] {
        const bool isOnline = session_.GetState() == ProjectSession::State::Online;
        if (std::exchange(wasOnline_, isOnline) != isOnline) {
            AskForRights();
            Show();
        }
    });
    wasOnline_ = session_.GetState() == ProjectSession::State::Online;
    AskForRights();
    Show();
}

MembersPane::~MembersPane() = default;

OV::UniString MembersPane::LoginOf(const QModelIndex& index) const
{
    return FromQt(index.data(LoginRole).toString());
}

void MembersPane::Show()
{
    const auto& members = session_.Members();
    // What was true before the server went is shown as such, and not as the present.
    const bool isOnline = session_.GetState() == ProjectSession::State::Online;
    std::vector<Member> rows;
    for (const auto& [id, user] : members.GetUserDataTable()) {
        Member& row = rows.emplace_back();
        row.login = user.GetLoginName();
        row.name = ToQt(user.GetFullName());
        row.group = !isOnline                       ? 3
                    : user.HasNormalSession()       ? 0
                    : session_.IsPresent(row.login) ? 1
                                                    : 2;
        row.card.title = row.name;
        if (const SYCB::UserAttributes* attributes = nullptr;
            members.GetUserAttributesFromId(id, attributes))
            row.card.subtitle = ToQt(attributes->roleName);
        row.card.dot = row.group < 2 ? Card::Dot::Good : Card::Dot::Quiet;
        row.card.isDimmed = row.group >= 2;
        SetFace(row.card, members, row.login, row.name);
    }
    QCollator order;
    order.setNumericMode(true);
    std::sort(rows.begin(), rows.end(), [&](const Member& a, const Member& b) {
        if (a.group != b.group)
            return a.group < b.group;
        const int names = order.compare(a.name, b.name);
        return names != 0 ? names < 0 : a.login < b.login;
    });
    const auto selected = LoginOf(list_->currentIndex());
    const QString headings[] = {tr("Working now"), tr("Present"), tr("Away"),
                                tr("Presence not known")};
    model_.clear();
    int group = -1;
    for (const Member& row : rows) {
        if (row.group != group) {
            group = row.group;
            const auto count = std::count_if(rows.begin(), rows.end(), [group](const Member& each) {
                return each.group == group;
            });
            Card heading;
            heading.title = QString("%1 · %2").arg(headings[group]).arg(count);
            heading.isHeading = true;
            auto* item = new QStandardItem;
            item->setData(QVariant::fromValue(heading), CardRole);
            item->setData(heading.title, Qt::AccessibleTextRole);
            item->setFlags(Qt::NoItemFlags);
            model_.appendRow(item);
        }
        auto* item = new QStandardItem;
        item->setData(QVariant::fromValue(row.card), CardRole);
        item->setData(ToSpeech(row.card) + ", " + headings[group], Qt::AccessibleTextRole);
        item->setData(ToQt(row.login), LoginRole);
        item->setEditable(false);
        model_.appendRow(item);
        if (row.login == selected)
            list_->setCurrentIndex(item->index());
    }
}

void MembersPane::ShowMenu(const QPoint& place)
{
    const auto login = LoginOf(list_->indexAt(place));
    const auto& members = session_.Members();
    SYC::ProjectMembers::MemberId id = 0;
    if (login.empty() || !members.GetUserIdFromLoginName(login, id))
        return;
    auto* menu = new QMenu(this);
    menu->setObjectName("memberMenu");
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu->addAction(tr("&Write to ...")), &QAction::triggered, this,
            [=, this] { emit WriteWanted(login); });
    connect(menu->addAction(tr("Ask for &Ownership ...")), &QAction::triggered, this,
            [=, this] { emit RequestWanted(login); });
    if (const SYCB::UserAttributes* attributes = nullptr;
        MayManage() && members.GetUserAttributesFromId(id, attributes))
        AddManaging(*menu, members.GetUserDataTable().at(id), attributes->roleName);
    menu->popup(list_->viewport()->mapToGlobal(place));
}

bool MembersPane::MayManage() const
{
    const auto& members = session_.Members();
    SYC::ProjectMembers::MemberId id = 0;
    const SYCB::UserAttributes* own = nullptr;
    return session_.GetState() == ProjectSession::State::Online && manage_.GetRights() &&
           !manage_.IsRunning() &&
           (manage_.GetRights()->managesAll ||
            (members.GetUserIdFromLoginName(session_.GetLogin().userName, id) &&
             members.GetUserAttributesFromId(id, own) &&
             SYC::ManageMembers::Manages(own->permissions)));
}

void MembersPane::AddManaging(QMenu& menu, const SYC::UserData& member, const OV::UniString& role)
{
    menu.addSeparator();
    auto* roles = menu.addMenu(tr("&Role"));
    for (const auto& each : manage_.GetRights()->roles) {
        auto* action = roles->addAction(ToQt(each).replace("&", "&&"));
        action->setCheckable(true);
        action->setChecked(each == role);
        connect(action, &QAction::triggered, this, [this, member, each] {
            success_ = tr("%1 is %2 now.").arg(ToQt(member.GetFullName()), ToQt(each));
            manage_.SetRole(member.GetLoginName(), each);
        });
    }
    if (member.GetLoginName() == session_.GetLogin().userName)
        return;
    auto* end = menu.addAction(tr("&End the Session ..."));
    end->setEnabled(member.HasNormalSession());
    connect(end, &QAction::triggered, this, [this, member] { EndSession(member); });
    connect(menu.addAction(tr("&Take out of the Project ...")), &QAction::triggered, this,
            [this, member] { TakeOut(member); });
}

/// Asked twice, for he is in the middle of his work.
void MembersPane::EndSession(const SYC::UserData& member)
{
    const QString name = ToQt(member.GetFullName());
    const QString since = Words::Exactly(member.GetWorkingSince());
    const QString computer = ToQt(member.GetComputer());
    if (!Agrees(tr("End the session of %1?").arg(name),
                (since.isEmpty() ? QString() : tr("It began %1.").arg(since) + " ") +
                    (computer.isEmpty() ? QString() : tr("It is on %1.").arg(computer) + " ") +
                    tr("What is not sent yet stays on that computer."),
                tr("End Session ...")))
        return;
    bool isAgreed = false;
    const QString reason =
        QInputDialog::getText(this, tr("End Session"), tr("The &reason, which the member is told:"),
                              QLineEdit::Normal, {}, &isAgreed);
    if (!isAgreed)
        return;
    success_ = tr("The session of %1 is ended.").arg(name);
    manage_.EndSession(member.GetLoginName(), FromQt(reason));
}

void MembersPane::TakeOut(const SYC::UserData& member)
{
    const QString name = ToQt(member.GetFullName());
    if (!Agrees(tr("Take %1 out of \"%2\"?").arg(name, session_.GetName()),
                tr("A session that is open there ends."), tr("Take Out ...")) ||
        !Agrees(tr("%1 loses all mails in this project.").arg(name),
                tr("Nobody can bring them back."), tr("Take Out for Good")))
        return;
    success_ = tr("%1 is no member any more.").arg(name);
    manage_.TakeOut(member.GetLoginName());
}

bool MembersPane::Agrees(const QString& question, const QString& consequence, const QString& yes)
{
    QMessageBox box(QMessageBox::Warning, session_.GetName(), question, QMessageBox::Cancel, this);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(consequence);
    const auto* agreed = box.addButton(yes, QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == agreed;
}

void MembersPane::AskForRights()
{
    if (wasOnline_ && !manage_.GetRights() && !manage_.IsRunning())
        manage_.Look();
}

/// Of rights that cannot be asked for nobody hears: the menu offers less.
void MembersPane::ManageChanged()
{
    if (success_.isEmpty() || manage_.IsRunning())
        return;
    const bool isDone = manage_.GetState() == SYC::FlowState::Succeeded;
    emit Said(isDone ? success_ : Words::ReasonOf(manage_.GetFailure()));
    success_.clear();
}
