#include "ProjectPage.hpp"

#include "ActivityPage.hpp"
#include "FoldingSplitter.hpp"
#include "LineLabel.hpp"
#include "SettingsPage.hpp"
#include "Words.hpp"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QDataStream>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QToolButton>
#include <utility>

namespace {

QPixmap MakeDot(const QColor& colour, int side, qreal ratio)
{
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(QRectF(0.5, 0.5, side - 1, side - 1));
    return picture;
}

}  // namespace

ProjectPage::ProjectPage(ProjectSession& session, OV::Executor& home, QWidget* parent)
    : QWidget(parent), session_(session), pages_(new QStackedWidget(this)),
      mails_(new MailPage(session, home, this)), members_(new MembersPane(session, home, this)),
      splitter_(new FoldingSplitter(this))
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(MakeHeader());
    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    row->addWidget(MakeNavigation());
    pages_->addWidget(mails_);
    // The other pages are made when they are first looked at.
    for (int page = 1; page < PageCount; ++page)
        pages_->addWidget(new QWidget(this));
    splitter_->setObjectName("projectSplitter");
    splitter_->addWidget(pages_);
    splitter_->addWidget(members_);
    splitter_->setStretchFactor(0, 1);
    splitter_->setStretchFactor(1, 0);
    splitter_->setSizes(
        {fontMetrics().averageCharWidth() * 130, fontMetrics().averageCharWidth() * 32});
    row->addWidget(splitter_, 1);
    column->addLayout(row, 1);
    column->addWidget(MakeFooter());

    connect(mails_, &MailPage::Said, this, &ProjectPage::ShowMessage);
    connect(mails_, &MailPage::CountsChanged, this, &ProjectPage::ShowCounts);
    connect(members_, &MembersPane::Said, this, &ProjectPage::ShowMessage);
    connect(members_, &MembersPane::WriteWanted, this, [this](const OV::UniString& login) {
        mails_->Write({SYC::MailType::Normal, {login}, {}, {}});
    });
    connect(members_, &MembersPane::RequestWanted, this, [this](const OV::UniString& login) {
        mails_->Write({SYC::MailType::Request, {login}, {}, {}});
    });
    connect(&session_, &ProjectSession::StateChanged, this, &ProjectPage::ShowState);
    connect(&session_, &ProjectSession::MembersChanged, this, &ProjectPage::ShowState);
    connect(&session_, &ProjectSession::MembersChanged, this, &ProjectPage::ShowCounts);
    connect(&session_, &ProjectSession::BoxChanged, this, &ProjectPage::ShowCounts);
    connect(&session_, &ProjectSession::WaitingChanged, this, &ProjectPage::ShowOutbox);
    connect(&session_, &ProjectSession::StateChanged, this, &ProjectPage::ShowOutbox);
    connect(&session_, &ProjectSession::Failed, this, &ProjectPage::ShowMessage);
    ShowState();
    ShowCounts();
    ShowOutbox();
    ShowPage(MailPageNumber);
    ComposeWindow::RestoreAll(session_, mails_);
}

ProjectPage::~ProjectPage() = default;

QWidget* ProjectPage::MakeHeader()
{
    auto* header = new QFrame(this);
    header->setFrameShape(QFrame::NoFrame);
    auto* row = new QHBoxLayout(header);
    title_ = new LineLabel(session_.GetName(), header);
    title_->setObjectName("projectTitle");
    title_->setToolTip("<span>" + session_.GetName().toHtmlEscaped() + "</span>");
    QFont large = title_->font();
    large.setBold(true);
    large.setPointSizeF(large.pointSizeF() * 1.2);
    title_->setFont(large);
    subtitle_ = new LineLabel({}, header);
    subtitle_->setObjectName("projectSubtitle");
    subtitle_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    dot_ = new QLabel(header);
    state_ = new QLabel(header);
    state_->setObjectName("state");
    state_->setTextFormat(Qt::PlainText);
    offline_ = new QPushButton(header);
    offline_->setObjectName("workOffline");
    write_ = new QPushButton(tr("&Write ..."), header);
    write_->setObjectName("write");
    write_->setToolTip("Ctrl+N");
    row->addWidget(title_);
    row->addWidget(subtitle_, 1);
    row->addWidget(dot_);
    row->addWidget(state_);
    row->addSpacing(fontMetrics().height() / 2);
    row->addWidget(offline_);
    row->addWidget(write_);
    connect(offline_, &QPushButton::clicked, this, &ProjectPage::ToggleOffline);
    connect(write_, &QPushButton::clicked, this, [this] { mails_->Write({}); });
    return header;
}

QWidget* ProjectPage::MakeNavigation()
{
    auto* navigation = new QWidget(this);
    auto* column = new QVBoxLayout(navigation);
    auto* group = new QButtonGroup(this);
    const QStyle::StandardPixmap icons[] = {
        QStyle::SP_FileDialogContentsView, QStyle::SP_FileDialogDetailedView,
        QStyle::SP_FileDialogInfoView, QStyle::SP_FileDialogListView};
    for (int page = 0; page < PageCount; ++page) {
        auto* button = new QToolButton(navigation);
        button->setObjectName(QString("page%1").arg(page));
        button->setCheckable(true);
        button->setAutoRaise(true);
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setIcon(style()->standardIcon(icons[page], nullptr, this));
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        group->addButton(button);
        column->addWidget(button);
        connect(button, &QToolButton::clicked, this, [this, page] { ShowPage(page); });
        buttons_[page] = button;
    }
    buttons_[ActivityPageNumber]->setText(tr("Activity"));
    buttons_[StatisticsPageNumber]->setText(tr("Statistics"));
    buttons_[SettingsPageNumber]->setText(tr("Settings"));
    buttons_[MailPageNumber]->setText(tr("Mail"));
    // The count of mails must not move what stands below.
    int width = fontMetrics().horizontalAdvance(tr("Mail %1").arg(9999));
    for (const QToolButton* button : buttons_)
        width = std::max(width, fontMetrics().horizontalAdvance(button->text()));
    navigation->setFixedWidth(width + 2 * fontMetrics().height());
    column->addStretch();
    return navigation;
}

QWidget* ProjectPage::MakeFooter()
{
    auto* footer = new QWidget(this);
    auto* row = new QHBoxLayout(footer);
    row->setContentsMargins(row->contentsMargins().left(), 4, row->contentsMargins().right(), 4);
    const auto add = [&](QLabel* label, const char* name, int stretch) {
        label->setObjectName(name);
        row->addWidget(label, stretch);
        return label;
    };
    outbox_ = add(new QLabel(footer), "outbox", 0);
    outbox_->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    news_ = add(new LineLabel({}, footer), "news", 1);
    news_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    message_.setSingleShot(true);
    connect(&message_, &QTimer::timeout, this, &ProjectPage::ShowNews);
    counts_ = add(new LineLabel({}, footer), "counts", 0);
    connect(outbox_, &QLabel::linkActivated, this, [this] {
        session_.TryNow();
        session_.Mails().FlushOutbox();
    });
    return footer;
}

void ProjectPage::ShowState()
{
    const auto state = session_.GetState();
    using State = ProjectSession::State;
    QString text;
    switch (state) {
    case State::Online:
        text = tr("Online");
        break;
    case State::Connecting:
        text = tr("Connecting ...");
        break;
    case State::OfflineByChoice:
        text = tr("Working offline");
        break;
    case State::Refused:
        text = tr("Refused by the server");
        break;
    case State::Offline:
        if (const auto seconds = session_.GetSecondsToTry())
            text = tr("No answer, next try in %1 s").arg(*seconds);
        else
            text = tr("No answer, trying ...");
        break;
    }
    state_->setText(text);
    const QString reason =
        state == State::Online || state == State::Connecting ? QString() : session_.GetReason();
    state_->setToolTip(reason.isEmpty() ? QString()
                                        : "<span>" + reason.toHtmlEscaped() + "</span>");
    state_->setAccessibleDescription(reason);
    const QColor colour = state == State::Online ? QColor(30, 160, 80)
                          : state == State::Offline || state == State::Refused
                              ? QColor(215, 50, 50)
                              : QColor(150, 158, 166);
    dot_->setPixmap(MakeDot(colour, fontMetrics().height() * 3 / 5, devicePixelRatioF()));
    offline_->setText(state == State::OfflineByChoice                      ? tr("Work &Online")
                      : state == State::Offline || state == State::Refused ? tr("&Try Now")
                                                                           : tr("Work &Offline"));
    const QString role = session_.GetRole();
    subtitle_->setText(session_.GetServer() + " · " + session_.GetFullName() +
                       (role.isEmpty() ? QString() : " · " + role));
    subtitle_->setToolTip("<span>" + subtitle_->text().toHtmlEscaped() + "</span>");
    ShowNews();
}

void ProjectPage::ShowMessage(const QString& text)
{
    constexpr int milliseconds = 15'000;
    news_->setText(text);
    news_->setToolTip("<span>" + text.toHtmlEscaped() + "</span>");
    message_.start(milliseconds);
}

void ProjectPage::ShowNews()
{
    if (message_.isActive())
        return;
    const auto& news = session_.GetLastNews();
    news_->setText(news.isValid()
                       ? tr("Last news %1").arg(QLocale().toString(news.time(), "HH:mm:ss"))
                       : tr("No news yet"));
    news_->setToolTip({});
}

void ProjectPage::ToggleOffline()
{
    const auto state = session_.GetState();
    if (state == ProjectSession::State::Offline || state == ProjectSession::State::Refused)
        session_.TryNow();
    else
        session_.WorkOffline(state != ProjectSession::State::OfflineByChoice);
}

void ProjectPage::ShowCounts()
{
    const int waiting = mails_->CountWaiting() + mails_->CountUnread();
    buttons_[MailPageNumber]->setText(waiting > 0 ? tr("Mail %1").arg(waiting) : tr("Mail"));
    const auto members = static_cast<int>(session_.Members().GetUserDataTable().size());
    const auto mails = static_cast<int>(session_.Mails().GetMails().size());
    counts_->setText(tr("%n member(s)", nullptr, members) + " · " +
                     tr("%n mail(s)", nullptr, mails));
}

void ProjectPage::ShowOutbox()
{
    // A screen reader does not take the link out of the text.
    const auto show = [this](const QString& text, const QString& link) {
        outbox_->setText(text.toHtmlEscaped() +
                         (link.isEmpty() ? QString() : " · <a href=\"send\">" + link + "</a>"));
        outbox_->setAccessibleName(link.isEmpty() ? text : text + ", " + link);
    };
    const auto waiting = static_cast<int>(session_.Mails().GetOutboxMails().size());
    if (waiting == 0) {
        // What was said of a mail in the outbox is no longer so.
        if (std::exchange(isWaiting_, false)) {
            message_.stop();
            ShowNews();
        }
        return show(tr("Outbox empty"), {});
    }
    isWaiting_ = true;
    QString text = tr("Outbox: %n mail(s) wait", nullptr, waiting);
    const bool isByChoice = session_.GetState() == ProjectSession::State::OfflineByChoice;
    if (isByChoice)
        text += ", " + tr("until you work online");
    else if (const auto seconds = session_.GetSecondsToTry())
        text += ", " + tr("next try in %1 s").arg(*seconds);
    else if (session_.Mails().IsSending())
        text += ", " + tr("sending");
    show(text, isByChoice ? QString() : tr("Send now"));
}

QWidget* ProjectPage::MakePage(int page)
{
    if (page == SettingsPageNumber) {
        auto* settings = new SettingsPage(session_, this);
        connect(settings, &SettingsPage::LeaveWanted, this, &ProjectPage::LeaveWanted);
        return settings;
    }
    auto* log = new ActivityPage(session_,
                                 page == ActivityPageNumber ? ActivityPage::Kind::Activity
                                                            : ActivityPage::Kind::Statistics,
                                 this);
    connect(log, &ActivityPage::Said, this, &ProjectPage::ShowMessage);
    return log;
}

void ProjectPage::ShowPage(int page)
{
    if (!isMade_[static_cast<std::size_t>(page)]) {
        isMade_[static_cast<std::size_t>(page)] = true;
        QWidget* const place = pages_->widget(page);
        pages_->removeWidget(place);
        delete place;
        pages_->insertWidget(page, MakePage(page));
    }
    pages_->setCurrentIndex(page);
    buttons_[page]->setChecked(true);
}

int ProjectPage::CurrentPage() const
{
    return pages_->currentIndex();
}

QByteArray ProjectPage::SaveSizes() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << splitter_->saveState() << mails_->Splitter().saveState();
    return bytes;
}

void ProjectPage::RestoreSizes(const QByteArray& sizes)
{
    QByteArray outer, inner;
    QDataStream stream(sizes);
    stream >> outer >> inner;
    splitter_->restoreState(outer);
    mails_->Splitter().restoreState(inner);
}
