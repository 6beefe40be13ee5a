#include "CardList.hpp"
#include "DesktopText.hpp"
#include "Dlg/Qt/QtToolkit.hpp"
#include "MainWindow.hpp"
#include "RegisteredProjects.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"
#include "UserInterface/ProjectLogViewerDlg_14.hpp"

#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDateEdit>
#include <QDialog>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <map>

namespace {

constexpr int BeatMilliseconds = 2;
constexpr double FrameMilliseconds = 50;

/// Processor time of this thread, which counts nothing of what else the machine does.
double ProcessorMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Beats in the event loop, and notes how late each beat came while something was going on, and
/// what the thread had worked since the last one.
class Heartbeat {
public:
    /// The phase of a program that makes its first window.
    inline static const QString Start = "0 start";

    Heartbeat()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] { Beat(); });
        clock_.start();
        timer_.start(BeatMilliseconds);
    }

    void SetPhase(const QString& name) { phase_ = name; }
    /// Whether no beat since the start had more than a frame's work.
    [[nodiscard]] bool IsSmooth() const
    {
        return std::all_of(phases_.begin(), phases_.end(), [](const auto& phase) {
            return phase.first == Start || phase.second.work.Over(FrameMilliseconds) == 0;
        });
    }
    void Print() const
    {
        for (const auto& [name, beats] : phases_)
            std::printf("%-28s %7zu beats: late, 99 of 100 %6.1f ms, longest %6.1f ms, over %.0f "
                        "ms: %zu; at work, 99 of 100 %6.1f ms, longest %6.1f ms, over: %zu\n",
                        name.toUtf8().constData(), beats.late.Count(), beats.late.Of100(99),
                        beats.late.Of100(100), FrameMilliseconds,
                        beats.late.Over(FrameMilliseconds), beats.work.Of100(99),
                        beats.work.Of100(100), beats.work.Over(FrameMilliseconds));
    }

private:
    /// Times, rounded up to a tenth of a millisecond: the memory of the program is looked at for
    /// hours, and a list of all beats would be what grows.
    class Times {
    public:
        void Add(double milliseconds)
        {
            ++counts_[static_cast<int>(std::ceil(milliseconds * Parts))];
            ++count_;
        }
        [[nodiscard]] std::size_t Count() const { return count_; }
        /// The least time that so many of 100 did not exceed.
        [[nodiscard]] double Of100(std::size_t many) const
        {
            std::size_t seen = 0;
            for (const auto& [tenths, count] : counts_)
                if ((seen += count) * 100 >= count_ * many)
                    return static_cast<double>(tenths) / Parts;
            return 0;
        }
        [[nodiscard]] std::size_t Over(double milliseconds) const
        {
            std::size_t over = 0;
            for (auto each = counts_.upper_bound(static_cast<int>(milliseconds * Parts));
                 each != counts_.end(); ++each)
                over += each->second;
            return over;
        }

    private:
        static constexpr int Parts = 10;
        std::map<int, std::size_t> counts_;
        std::size_t count_ = 0;
    };
    struct Beats {
        Times late, work;
    };

    void Beat()
    {
        constexpr double nanoseconds = 1e6;
        const double now = static_cast<double>(clock_.nsecsElapsed()) / nanoseconds;
        const double work = ProcessorMilliseconds();
        Beats& beats = phases_[phase_];
        beats.late.Add(std::max(0.0, now - last_ - BeatMilliseconds));
        beats.work.Add(work - worked_);
        last_ = now;
        worked_ = work;
    }

    QTimer timer_;
    QElapsedTimer clock_;
    QString phase_ = Start;
    std::map<QString, Beats> phases_;
    double last_ = 0;
    double worked_ = 0;
};

/// Memory of this process in MiB.
double Memory()
{
    std::ifstream file("/proc/self/statm");
    long pages = 0, resident = 0;
    file >> pages >> resident;
    return static_cast<double>(resident) * 4096 / (1 << 20);
}

/// Runs the loop until `done` holds; false when it took longer than the seconds.
template <class Done>
bool RunUntil(Done done, int seconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > seconds * 1000)
            return false;
        // Without a time to take at most: with one it would not wait, and work a processor full.
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

QString Text(const QWidget& window, const char* name)
{
    const auto* label = window.findChild<QLabel*>(name);
    return label == nullptr ? QString() : label->text();
}

void Wait(int seconds)
{
    (void)RunUntil([] { return false; }, seconds);
}

/// Waits for what the page says of the log; whether it is read.
bool AwaitLog(const QWidget& window, const char* status)
{
    QElapsedTimer clock;
    clock.start();
    const auto text = [&] { return Text(window, status); };
    const bool isRead =
        RunUntil([&] { return text().startsWith("Up to date") || text().startsWith("Not"); }, 900);
    std::printf("%s: %s after %.1f s, %s; memory %.0f MiB\n", status, isRead ? "read" : "NOT read",
                static_cast<double>(clock.elapsed()) / 1000, text().toUtf8().constData(), Memory());
    return isRead && text().startsWith("Up");
}

/// Somebody who works with the viewer of the log, which runs a loop of its own: steps one by one,
/// with a pause between, and alerts are answered.
class ViewerUser {
public:
    using Viewer = Syncra::Server::ManagementTool::GUI::ProjectLogViewerDlg_14;

    explicit ViewerUser(Heartbeat& heart) : heart_(heart)
    {
        // A timer is silent while its own slot runs a loop, as a step does that opens an alert.
        QObject::connect(
            &timer_, &QTimer::timeout, &timer_, [this] { Step(); }, Qt::QueuedConnection);
        timer_.start(500);
    }
    [[nodiscard]] bool IsDone() const { return step_ > LastStep; }

private:
    static constexpr int LastStep = 10;
    void Step()
    {
        QWidget* const active = QApplication::activeModalWidget();
        if (auto* alert = qobject_cast<QMessageBox*>(active)) {
            alert->accept();
            return;
        }
        auto* dialog = qobject_cast<QDialog*>(active);
        auto* table = dialog == nullptr ? nullptr : dialog->findChild<QTableView*>();
        // The worker of the viewer has this long for each step.
        constexpr int looksForAStep = 4;
        if (table == nullptr || IsDone() || ++looks_ % looksForAStep != 0)
            return;
        const int rows = table->model()->rowCount();
        // The lines come by and by.
        if (step_ == 1 && (rows == 0 || rows != rows_)) {
            rows_ = rows;
            return;
        }
        std::printf("viewer, step %d: %d rows; memory %.0f MiB\n", step_, rows, Memory());
        const auto choose = [&](int item, int entry) {
            auto& menu = *dialog->findChild<QComboBox*>(QString("item%1").arg(item));
            menu.setCurrentIndex(entry);
            emit menu.activated(entry);
        };
        const auto press = [&](int column) {
            emit table->horizontalHeader()->sectionClicked(column);
        };
        const int step = step_++;
        if (step == 0) {
            heart_.SetPhase("6 viewer: all days");
            dialog->findChild<QDateEdit*>(QString("item%1").arg(Viewer::FromDate))
                ->setDate(QDate(2000, 1, 1));
        } else if (step <= 6) {
            heart_.SetPhase("7 viewer: sort");
            press(step - 1);
        } else if (step == 7) {
            heart_.SetPhase("8 viewer: filter");
            choose(Viewer::ActionMenu, 1);
        } else if (step == 8) {
            choose(Viewer::UserMenu, 1);
        } else if (step == 9) {
            choose(Viewer::ActionMenu, 0);
            table->scrollToBottom();
        } else {
            heart_.SetPhase("9 viewer: close");
            dialog->reject();
        }
    }

    Heartbeat& heart_;
    QTimer timer_;
    int looks_ = 0;
    int step_ = 0;
    int rows_ = -1;
};

/// Looks at everything that is made of the log.
bool LookAtLog(MainWindow& window, Heartbeat& heart)
{
    heart.SetPhase("4 activity");
    QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
    bool isRead = AwaitLog(window, "activityStatus");
    heart.SetPhase("5 statistics");
    QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
    isRead = AwaitLog(window, "statisticsStatus") && isRead;
    auto& charts = *window.findChild<QComboBox*>("charts");
    for (int chart = 0; chart < charts.count(); ++chart) {
        charts.setCurrentIndex(chart);
        Wait(1);
    }
    QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
    heart.SetPhase("6 viewer: all days");
    const ViewerUser user(heart);
    window.findChild<QPushButton*>("openLog")->click();
    QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
    return isRead && user.IsDone();
}

}  // namespace

/// Whether the window answers while it works: opens a project of a running server in it, waits for
/// its mails, searches and marks them, looks at what is made of the log (with --log), and goes on
/// for --seconds as somebody who works with it. Prints how late a timer of the event loop came, and
/// the processor time of the loop's thread between two of them. The home folders are those of the
/// environment. Of a store of Tools/large-store/make, "--user yuki.tanaka --mails 100000" and
/// "--user anna.novak --project Log-0 --mails 0 --log" are the large ones; busy-team runs it in a
/// team at work. Ends with 1 when something was not read, or a beat had more than 50 ms of work.
int main(int argumentCount, char** arguments)
{
    const QApplication application(argumentCount, arguments);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({{"port", "Model port on 127.0.0.1.", "N"},
                       {"user", "", "NAME"},
                       {"password", "Of a sample store.", "WORD", "nexar-sample"},
                       {"project", "", "NAME", "Harbour Bridge"},
                       {"mails", "Mails to wait for.", "N", "1"},
                       {"seconds", "How long to go on.", "N", "10"},
                       {"log", "Read the log as well."}});
    parser.process(application);
    SYC::RegisteredProjects::Init(SYC::RegisteredProjects::GetDefaultDataFolder());
    const Dlg::QtToolkit toolkit;
    Syncra::Server::ManagementTool::GUI::SetAsyncTaskDialogExecutingImplementationForCore();
    Heartbeat heart;
    MainWindow window(SYC::RegisteredProjects::GetDefaultDataFolder());
    window.show();
    Wait(1);
    MainWindow::Login login;
    login.serverName = u"127.0.0.1";
    login.port = parser.value("port").toUShort();
    login.userName = FromQt(parser.value("user"));
    login.password = FromQt(parser.value("password"));
    login.projectName = FromQt(parser.value("project"));
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::printf("memory at the start: %.0f MiB\n", Memory());
    heart.SetPhase("1 open and fetch");
    window.Open(login);
    const auto wanted = parser.value("mails").toInt();
    QElapsedTimer clock;
    clock.start();
    const auto* mails = static_cast<CardList*>(nullptr);
    const bool isThere = RunUntil(
        [&] {
            mails = window.findChild<CardList*>("mails");
            return mails != nullptr && mails->model()->rowCount() >= wanted;
        },
        300);
    std::printf("%s after %.1f s: %d rows, %s; memory %.0f MiB\n",
                isThere ? "fetched" : "NOT fetched", static_cast<double>(clock.elapsed()) / 1000,
                mails == nullptr ? -1 : mails->model()->rowCount(),
                Text(window, "state").toUtf8().constData(), Memory());
    if (!isThere)
        return 1;
    auto& list = *window.findChild<CardList*>("mails");
    auto& search = *window.findChild<QLineEdit*>("search");
    auto& views = *window.findChild<QTabBar*>("views");
    heart.SetPhase("2 views and scrolling");
    for (int view = 0; view < views.count(); ++view) {
        views.setCurrentIndex(view);
        Wait(1);
    }
    views.setCurrentIndex(1);
    for (int row = 0; row < 200 && row < list.model()->rowCount(); ++row) {
        list.setCurrentIndex(
            list.model()->index(row * std::max(1, list.model()->rowCount() / 200), 0));
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
    heart.SetPhase("3 search while typing");
    for (const QString text : {"w", "wa", "wal", "wall", "wall n", "", "anna", ""}) {
        search.setText(text);
        Wait(1);
    }
    heart.SetPhase("3 mark read");
    for (int mail = 0; mail < 30; ++mail) {
        list.setCurrentIndex(list.model()->index(mail, 0));
        QTest::keyClick(&list, Qt::Key_Down);
        (void)RunUntil([] { return false; }, 0);
        QTest::qWait(50);
    }
    const bool isLogRead = !parser.isSet("log") || LookAtLog(window, heart);
    heart.SetPhase("A working day");
    const int seconds = parser.value("seconds").toInt();
    constexpr int minute = 60;
    for (int second = 0; second < seconds; ++second) {
        list.setCurrentIndex(
            list.model()->index(second % std::max(1, list.model()->rowCount()), 0));
        Wait(1);
        if (second % minute == 0)
            std::printf("minute %d: %d rows, memory %.0f MiB\n", second / minute,
                        list.model()->rowCount(), Memory());
    }
    heart.Print();
    window.close();
    return isLogRead && heart.IsSmooth() ? 0 : 1;
}
