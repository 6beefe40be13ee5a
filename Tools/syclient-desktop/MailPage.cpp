#include "MailPage.hpp"

#include "CardList.hpp"
#include "DesktopText.hpp"
#include "FoldingSplitter.hpp"
#include "MailReader.hpp"
#include "OVRoot/Exception.hpp"

#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QTabBar>

using SYC::MailAnswer;
using SYC::MailClient;

namespace {

QString NameOf(SYC::MailView view)
{
    switch (view) {
    case SYC::MailView::Waiting:
        return MailPage::tr("Waiting for me");
    case SYC::MailView::Inbox:
        return MailPage::tr("Inbox");
    case SYC::MailView::Sent:
        return MailPage::tr("Sent");
    case SYC::MailView::History:
        return MailPage::tr("History");
    default:
        return MailPage::tr("Outbox");
    }
}

/// An entry of the list of orders.
struct Order {
    SYC::MailSort sort;
    bool isDescending;
    const char* name;
};
constexpr Order Orders[] = {
    {SYC::MailSort::Time, true, QT_TRANSLATE_NOOP("MailPage", "Newest first")},
    {SYC::MailSort::Time, false, QT_TRANSLATE_NOOP("MailPage", "Oldest first")},
    {SYC::MailSort::Sender, false, QT_TRANSLATE_NOOP("MailPage", "By sender")},
    {SYC::MailSort::Importance, true, QT_TRANSLATE_NOOP("MailPage", "By importance")},
    {SYC::MailSort::Subject, false, QT_TRANSLATE_NOOP("MailPage", "By text")}};

}  // namespace

MailPage::MailPage(ProjectSession& session, OV::Executor& home, QWidget* parent)
    : QWidget(parent), session_(session), rows_(session, home), views_(new QTabBar(this)),
      search_(new QLineEdit(this)), order_(new QComboBox(this)),
      list_(new CardList("mails", tr("Mails"), this)), empty_(new QLabel(this)),
      reader_(new MailReader(session, this)), splitter_(new FoldingSplitter(this))
{
    auto* left = new QWidget(this);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins({});
    views_->setObjectName("views");
    views_->setAccessibleName(tr("Views of the mails"));
    views_->setDrawBase(false);
    views_->setExpanding(false);
    views_->setUsesScrollButtons(true);
    for (std::size_t view = 0; view <= static_cast<std::size_t>(SYC::MailView::Outbox); ++view)
        views_->addTab(NameOf(static_cast<SYC::MailView>(view)));
    column->addWidget(views_);
    search_->setObjectName("search");
    search_->setPlaceholderText(tr("Search mails, people, text (Ctrl+F)"));
    search_->setAccessibleName(tr("Search"));
    search_->setClearButtonEnabled(true);
    order_->setObjectName("order");
    order_->setToolTip(tr("Order of the mails"));
    for (const Order& order : Orders)
        order_->addItem(tr(order.name));
    auto* row = new QHBoxLayout;
    row->addWidget(search_, 1);
    row->addWidget(order_);
    column->addLayout(row);
    list_->setModel(&rows_);
    list_->setUniformItemSizes(true);
    empty_->setObjectName("empty");
    empty_->setAlignment(Qt::AlignCenter);
    empty_->setWordWrap(true);
    empty_->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(empty_, 1);
    column->addWidget(list_, 1);
    splitter_->setObjectName("mailSplitter");
    splitter_->addWidget(left);
    splitter_->addWidget(reader_);
    splitter_->setChildrenCollapsible(false);
    splitter_->setStretchFactor(0, 0);
    splitter_->setStretchFactor(1, 1);
    const int width = std::max(fontMetrics().averageCharWidth() * 60,
                               views_->sizeHint().width() + 2 * fontMetrics().height());
    splitter_->setSizes({width, fontMetrics().averageCharWidth() * 80});
    auto* whole = new QHBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(splitter_);

    connect(views_, &QTabBar::currentChanged, this,
            [this](int view) { rows_.Mails().SetView(static_cast<SYC::MailView>(view)); });
    connect(search_, &QLineEdit::textChanged, this,
            [this](const QString& text) { rows_.Mails().SetSearch(FromQt(text)); });
    connect(order_, &QComboBox::currentIndexChanged, this, [this](int order) {
        rows_.Mails().SetSort(Orders[order].sort, Orders[order].isDescending);
    });
    connect(list_, &CardList::CurrentChanged, this, &MailPage::ShowSelected);
    connect(list_, &CardList::Chosen, this, [this] { reader_->FocusText(); });
    connect(&rows_, &MailRows::CountsMoved, this, &MailPage::ShowCounts);
    connect(&rows_, &MailRows::BusyMoved, this, &MailPage::ShowEmpty);
    connect(&rows_, &QAbstractItemModel::modelReset, this, &MailPage::Reselect);
    connect(&rows_, &QAbstractItemModel::rowsInserted, this, &MailPage::ShowEmpty);
    connect(&rows_, &QAbstractItemModel::rowsRemoved, this, &MailPage::ShowEmpty);
    connect(&rows_, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                const int current = list_->currentIndex().row();
                if (current >= first.row() && current <= last.row())
                    reader_->Show(Selected(), rows_.Mails().GetThread(selectedId_));
            });
    connect(reader_, &MailReader::AnswerWanted, this, &MailPage::Answer);
    connect(reader_, &MailReader::ForwardWanted, this, &MailPage::Forward);
    connect(reader_, &MailReader::DeleteWanted, this, &MailPage::Delete);
    connect(reader_, &MailReader::HistoryWanted, this, [this] {
        if (const auto mail = Selected())
            session_.Mails().SetMailHistorical(mail->GetId(), true);
    });
    const auto first = CountWaiting() > 0 ? SYC::MailView::Waiting : SYC::MailView::Inbox;
    views_->setCurrentIndex(static_cast<int>(first));
    rows_.Mails().SetView(first);
    ShowCounts();
    Reselect();
}

void MailPage::Reselect()
{
    const auto found = rows_.Find(selectedId_);
    const auto index = found.isValid() ? found : rows_.index(0, 0);
    list_->setCurrentIndex(index);
    if (!index.isValid())
        ShowSelected();
    ShowEmpty();
}

OV::Ref<SYC::ClientMail> MailPage::Selected() const
{
    return rows_.MailAt(list_->currentIndex());
}

void MailPage::ShowSelected()
{
    const auto mail = Selected();
    selectedId_ = mail ? mail->GetId() : OV::UniString();
    reader_->Show(mail,
                  mail ? rows_.Mails().GetThread(selectedId_) : SYC::MailListModel::MailList());
    // What stands open in a window that is looked at is read.
    if (mail && !mail->IsCopy() && !mail->IsOut() && isVisible() && window()->isActiveWindow())
        session_.MarkRead(*mail);
}

void MailPage::ShowEmpty()
{
    const bool isEmpty = rows_.rowCount({}) == 0;
    empty_->setText(rows_.Mails().IsBusy()      ? tr("Searching ...")
                    : search_->text().isEmpty() ? tr("Nothing is here.")
                                                : tr("No mail has these words."));
    empty_->setVisible(isEmpty);
    // Else the keyboard would go on at whatever stands behind the list.
    if (isEmpty && list_->hasFocus())
        views_->setFocus();
    list_->setVisible(!isEmpty);
    if (!isEmpty && !list_->currentIndex().isValid())
        list_->setCurrentIndex(rows_.index(0, 0));
}

void MailPage::ShowCounts()
{
    for (int view = 0; view < views_->count(); ++view) {
        const auto which = static_cast<SYC::MailView>(view);
        const auto counts = rows_.Mails().GetCounts(which);
        // Of requests and of what was not sent each one counts, of the others what nobody has read.
        const bool countsAll = which == SYC::MailView::Waiting || which == SYC::MailView::Outbox;
        const auto count = countsAll                       ? counts.total
                           : which == SYC::MailView::Inbox ? counts.unread
                                                           : 0;
        views_->setTabText(view,
                           NameOf(which) + (count > 0 ? QString(" %1").arg(count) : QString()));
    }
    emit CountsChanged();
}

int MailPage::CountWaiting() const
{
    return static_cast<int>(rows_.Mails().GetCounts(SYC::MailView::Waiting).total);
}

int MailPage::CountUnread() const
{
    return static_cast<int>(rows_.Mails().GetCounts(SYC::MailView::Inbox).unread);
}

void MailPage::Write(ComposeWindow::Task task)
{
    auto* compose = new ComposeWindow(session_, std::move(task), this);
    connect(compose, &ComposeWindow::Sent, this,
            [this] { emit Said(tr("The mail is in the outbox.")); });
    compose->show();
}

void MailPage::Reply()
{
    Answer(MailAnswer::Reply, true);
}

void MailPage::Give(bool withNote)
{
    Answer(MailAnswer::Accept, withNote);
}

void MailPage::Deny()
{
    Answer(MailAnswer::Deny, true);
}

void MailPage::Answer(MailAnswer answer, bool withNote)
{
    const auto mail = Selected();
    if (!mail || !MailClient::MayAnswer(*mail, answer))
        return;
    if (withNote) {
        ComposeWindow::Task task;
        task.original = mail;
        task.answer = answer;
        Write(std::move(task));
        return;
    }
    try {
        (void)session_.Mails().Answer(*mail, answer, {}, nullptr);
        emit Said(answer == MailAnswer::Accept ? tr("Given. The answer is in the outbox.")
                                               : tr("The answer is in the outbox."));
    } catch (const OV::Exception& error) {
        emit Said(ToQt(error.GetMessage()));
    }
}

void MailPage::Forward()
{
    const auto mail = Selected();
    if (!mail)
        return;
    ComposeWindow::Task task;
    task.original = mail;
    Write(std::move(task));
}

void MailPage::Delete()
{
    const auto mail = Selected();
    if (!mail)
        return;
    QMessageBox box(QMessageBox::Question, window()->windowTitle(),
                    mail->IsOut() ? tr("This mail was not sent yet. Delete it all the same?")
                                  : tr("Delete this mail on this computer and on the server?"),
                    QMessageBox::Cancel, this);
    const auto* agreed = box.addButton(tr("Delete"), QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() != agreed)
        return;
    try {
        if (mail->IsOut())
            session_.Mails().DeleteOutboxMails({mail->GetId()});
        else
            session_.Mails().DeleteMail(mail->GetId(), nullptr);
    } catch (const OV::Exception& error) {
        emit Said(ToQt(error.GetMessage()));
    }
}

void MailPage::FocusSearch()
{
    search_->setFocus();
    search_->selectAll();
}

bool MailPage::MayClose()
{
    for (auto* compose : findChildren<ComposeWindow*>())
        if (!compose->close())
            return false;
    return true;
}
