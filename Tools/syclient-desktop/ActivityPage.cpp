#include "ActivityPage.hpp"

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "CardList.hpp"
#include "EventLogUpdater.hpp"
#include "LineLabel.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "ServerTasks.hpp"
#include "UserInterface/ProjectLogViewerDlg_14.hpp"
#include "Words.hpp"

#include <QBoxLayout>
#include <QChartView>
#include <QComboBox>
#include <QDateTime>
#include <QFileDialog>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QShowEvent>
#include <QStandardItemModel>

namespace {

constexpr std::size_t ShownLines = 200;

Card CardOf(const LogDataLine& line)
{
    Card card;
    card.title = ToQt(line.GetOperationText());
    card.subtitle = ToQt(line.GetUser());
    card.initials = InitialsOf(card.subtitle);
    card.aside = Words::Exactly(line.GetTimeVal());
    return card;
}

}  // namespace

struct ActivityPage::Fetched {
    Charts::Data data;
    /// The last lines of the project, newest first.
    std::vector<Card> lines;
    QString problem;

    void Fetch(const LogSource& source, const OV::UniString& project, bool ask)
    {
        try {
            SYC::BinCacheHandler cache(source.GetCacheName());
            if (!ask)
                cache.GetCacheData();
            else
                Update(source, cache);
            data = Charts::MakeData(cache);
            FindLast(*cache.GetLines(), OV::ToUtf8(project));
        } catch (const OV::InterruptedException&) {
            throw;
        } catch (const OV::Exception& error) {
            problem += ToQt(error.GetMessage());
        }
    }

private:
    void Update(const LogSource& source, SYC::BinCacheHandler& cache)
    {
        try {
            ServerTasks::UpdateLog(source, cache);
        } catch (const OV::InterruptedException&) {
            throw;
        } catch (const OV::Exception& error) {
            problem = ToQt(OV::MessageWithCauses(error));
        }
    }
    void FindLast(const OV::PagedArray<LogDataLine>& all, const OV::String& project)
    {
        for (std::size_t at = all.size(); at > 0 && lines.size() < ShownLines; --at)
            if (all[at - 1].Record().project == project)
                lines.push_back(CardOf(all[at - 1]));
    }
};

ActivityPage::ActivityPage(ProjectSession& session, Kind kind, QWidget* parent)
    : QWidget(parent), session_(session), kind_(kind), status_(new LineLabel({}, this)),
      refresh_(new QPushButton(tr("&Refresh"), this)), view_(new QChartView(this))
{
    auto* column = new QVBoxLayout(this);
    auto* row = new QHBoxLayout;
    status_->setObjectName(kind == Kind::Activity ? "activityStatus" : "statisticsStatus");
    view_->setRenderHint(QPainter::Antialiasing);
    view_->setObjectName(kind == Kind::Activity ? "activityChart" : "statisticsChart");
    view_->setFrameShape(QFrame::NoFrame);
    for (QWidget* reader : {static_cast<QWidget*>(view_), view_->viewport()})
        reader->setAccessibleName(tr("Chart"));
    if (kind == Kind::Statistics) {
        charts_ = new QComboBox(this);
        charts_->setObjectName("charts");
        charts_->setToolTip(tr("Chart"));
        for (const QString& name : Charts::Kinds())
            if (name != "activity")
                charts_->addItem(Charts::TitleOf(name), name);
        connect(charts_, &QComboBox::activated, this, [this] { isChartChosen_ = true; });
        connect(charts_, &QComboBox::currentIndexChanged, this, &ActivityPage::ShowChart);
        row->addWidget(charts_);
    }
    row->addWidget(status_, 1);
    row->addWidget(refresh_);
    connect(refresh_, &QPushButton::clicked, this, &ActivityPage::Refresh);
    const auto addButton = [&](const QString& text, const char* name, auto pressed) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(name);
        connect(button, &QPushButton::clicked, this, pressed);
        row->addWidget(button);
    };
    if (kind == Kind::Activity)
        addButton(tr("Open the &Log ..."), "openLog", [this] { ShowLog(); });
    addButton(tr("&Save ..."), "saveChart", [this] { Export(); });
    column->addLayout(row);
    column->addWidget(view_, 1);
    if (kind == Kind::Activity) {
        lines_ = new CardList("lines", tr("What happened last"), this);
        rows_ = new QStandardItemModel(this);
        lines_->setModel(rows_);
        lines_->setUniformItemSizes(true);
        column->addWidget(lines_, 1);
    }
}

ActivityPage::~ActivityPage()
{
    worker_.Cancel();
}

void ActivityPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!data_)
        Refresh();
}

LogSource ActivityPage::Source() const
{
    const auto& login = session_.GetLogin();
    LogSource source;
    source.host = login.serverName;
    source.port = login.port;
    source.userName = login.userName;
    source.password = login.password;
    return source;
}

void ActivityPage::Refresh()
{
    if (isFetching_)
        return;
    isFetching_ = true;
    refresh_->setEnabled(false);
    const bool isOnline = session_.GetState() == ProjectSession::State::Online;
    status_->setText(isOnline ? tr("Fetching what is new ...")
                              : tr("Offline: this is what the computer knows."));
    (void)worker_.Execute(
        OV::MakeTask([this, source = Source(), project = FromQt(session_.GetName()), isOnline] {
            const auto fetched = std::make_shared<Fetched>();
            fetched->Fetch(source, project, isOnline);
            // The executor ends with the page, before anything else of it.
            (void)home_.Execute(OV::MakeTask([this, fetched] { Take(*fetched); }));
        }));
}

void ActivityPage::Take(Fetched& fetched)
{
    isFetching_ = false;
    refresh_->setEnabled(true);
    data_ = std::make_unique<Charts::Data>(std::move(fetched.data));
    if (!fetched.problem.isEmpty())
        status_->setText(tr("Not up to date: %1").arg(fetched.problem));
    else
        status_->setText(
            tr("Up to date at %1")
                .arg(Words::When(static_cast<std::int32_t>(QDateTime::currentSecsSinceEpoch()))));
    ProposeChart();
    ShowChart();
    if (rows_ == nullptr)
        return;
    rows_->clear();
    for (const Card& card : fetched.lines) {
        auto* item = new QStandardItem;
        item->setData(QVariant::fromValue(card), CardRole);
        item->setData(ToSpeech(card), Qt::AccessibleTextRole);
        item->setEditable(false);
        rows_->appendRow(item);
    }
}

/// Until the user chooses one, the first that has something to show.
void ActivityPage::ProposeChart()
{
    for (int at = 0; charts_ != nullptr && !isChartChosen_ && at < charts_->count(); ++at)
        if (Charts::HasData(charts_->itemData(at).toString(), *data_)) {
            const QSignalBlocker blocker(charts_);
            return charts_->setCurrentIndex(at);
        }
}

void ActivityPage::ShowChart()
{
    if (!data_)
        return;
    const QString kind =
        charts_ == nullptr ? QString("activity") : charts_->currentData().toString();
    const auto former = std::unique_ptr<QChart>(view_->chart());
    view_->setChart(Charts::Make(kind, *data_).release());
    for (QWidget* reader : {static_cast<QWidget*>(view_), view_->viewport()})
        reader->setAccessibleName(Charts::TitleOf(kind));
}

void ActivityPage::ShowLog()
{
    using Viewer = Syncra::Server::ManagementTool::GUI::ProjectLogViewerDlg_14;
    try {
        SYC::BinCacheHandler cache(Source().GetCacheName());
        Viewer viewer(session_.GetProjectId(), FromQt(session_.GetName()));
        EventLogUpdater updater(Source(), cache);
        updater.Attach(viewer);
        updater.Start();
        (void)viewer.Invoke();
        updater.Detach(viewer);
    } catch (const OV::Exception& error) {
        emit Said(ToQt(error.GetMessage()));
    }
}

/// As a picture, or as a table when the file is named like one.
void ActivityPage::Export()
{
    if (!data_)
        return;
    const QString kind =
        charts_ == nullptr ? QString("activity") : charts_->currentData().toString();
    QFileDialog dialog(this, tr("Save the Chart"), {}, "PNG (*.png);;CSV (*.csv)");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.selectFile(kind);
    const auto nameBy = [&dialog](const QString& filter) {
        dialog.setDefaultSuffix(filter.contains("csv") ? "csv" : "png");
    };
    nameBy({});
    connect(&dialog, &QFileDialog::filterSelected, this, nameBy);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString file = dialog.selectedFiles().value(0);
    const bool isWritten = Charts::Render(kind, *data_, view_->size(), file);
    emit Said(isWritten ? tr("Saved as %1").arg(file) : tr("%1 cannot be written.").arg(file));
}
