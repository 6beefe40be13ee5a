#include "MembersPane.hpp"

#include "DesktopText.hpp"
#include "Faces.hpp"

#include <QBoxLayout>
#include <QCollator>
#include <QMenu>

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

MembersPane::MembersPane(ProjectSession& session, QWidget* parent)
    : QWidget(parent), session_(session),
      list_(new CardList("members", tr("Members of the project"), this))
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(list_);
    list_->setModel(&model_);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list_, &QWidget::customContextMenuRequested, this, &MembersPane::ShowMenu);
    connect(list_, &CardList::Chosen, this, [this](const QModelIndex& index) {
        if (const auto login = LoginOf(index); !login.empty())
            emit WriteWanted(login);
    });
    connect(&session_, &ProjectSession::MembersChanged, this, &MembersPane::Show);
    connect(&session_, &ProjectSession::StateChanged, this, [this] {
        if (std::exchange(wasOnline_, session_.GetState() == ProjectSession::State::Online) !=
            (session_.GetState() == ProjectSession::State::Online))
            Show();
    });
    wasOnline_ = session_.GetState() == ProjectSession::State::Online;
    Show();
}

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
                                tr("Who is here is not known now")};
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
    if (login.empty())
        return;
    QMenu menu(this);
    connect(menu.addAction(tr("&Write to ...")), &QAction::triggered, this,
            [=, this] { emit WriteWanted(login); });
    connect(menu.addAction(tr("Ask for &Ownership ...")), &QAction::triggered, this,
            [=, this] { emit RequestWanted(login); });
    menu.exec(list_->viewport()->mapToGlobal(place));
}
