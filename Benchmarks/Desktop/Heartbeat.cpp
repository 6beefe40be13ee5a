#include "CardList.hpp"
#include "DesktopText.hpp"
#include "Dlg/Qt/QtToolkit.hpp"
#include "MainWindow.hpp"
#include "RegisteredProjects.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>

namespace {

constexpr int BeatMilliseconds = 2;
constexpr double FrameMilliseconds = 50;

/// Beats in the event loop, and notes how late each beat came while something was going on.
class Heartbeat {
public:
    Heartbeat()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] { Beat(); });
        clock_.start();
        timer_.start(BeatMilliseconds);
    }

    void SetPhase(const QString& name) { phase_ = name; }
    void Print() const
    {
        for (const auto& [name, late] : phases_) {
            auto sorted = late;
            std::sort(sorted.begin(), sorted.end());
            const auto over = std::count_if(sorted.begin(), sorted.end(),
                                            [](double each) { return each > FrameMilliseconds; });
            std::printf("%-28s %8zu beats, 99 of 100 within %6.1f ms, longest %6.1f ms, over %.0f "
                        "ms: %td\n",
                        name.toUtf8().constData(), sorted.size(), sorted[sorted.size() * 99 / 100],
                        sorted.back(), FrameMilliseconds, over);
        }
    }

private:
    void Beat()
    {
        constexpr double nanoseconds = 1e6;
        const double now = static_cast<double>(clock_.nsecsElapsed()) / nanoseconds;
        phases_[phase_].push_back(std::max(0.0, now - last_ - BeatMilliseconds));
        last_ = now;
    }

    QTimer timer_;
    QElapsedTimer clock_;
    QString phase_ = "start";
    std::map<QString, std::vector<double>> phases_;
    double last_ = 0;
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
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents,
                                        BeatMilliseconds);
    }
    return true;
}

QString Text(const QWidget& window, const char* name)
{
    const auto* label = window.findChild<QLabel*>(name);
    return label == nullptr ? QString() : label->text();
}

}  // namespace

/// Whether the window answers while it works: opens a project of a running server in it, waits for
/// its mails, searches and sorts them, reads the log, and goes on for --seconds as somebody who
/// works with it. Prints how late a timer of the event loop came. The home folders are those of the
/// environment.
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
    MainWindow::Login login;
    login.serverName = u"127.0.0.1";
    login.port = parser.value("port").toUShort();
    login.userName = FromQt(parser.value("user"));
    login.password = FromQt(parser.value("password"));
    login.projectName = FromQt(parser.value("project"));
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
        (void)RunUntil([&] { return false; }, 1);
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
        (void)RunUntil([&] { return false; }, 1);
    }
    if (parser.isSet("log")) {
        heart.SetPhase("4 read the log");
        clock.start();
        QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
        const bool isRead = RunUntil(
            [&] {
                return Text(window, "activityStatus").startsWith("Up to date") ||
                       Text(window, "activityStatus").startsWith("Not");
            },
            600);
        std::printf("log: %s after %.1f s, %s; memory %.0f MiB\n", isRead ? "read" : "NOT read",
                    static_cast<double>(clock.elapsed()) / 1000,
                    Text(window, "activityStatus").toUtf8().constData(), Memory());
        QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
        (void)RunUntil([&] { return false; }, 10);
        QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
    }
    heart.SetPhase("5 a working day");
    const int seconds = parser.value("seconds").toInt();
    constexpr int minute = 60;
    for (int second = 0; second < seconds; ++second) {
        list.setCurrentIndex(
            list.model()->index(second % std::max(1, list.model()->rowCount()), 0));
        (void)RunUntil([&] { return false; }, 1);
        if (second % minute == 0)
            std::printf("minute %d: %d rows, memory %.0f MiB\n", second / minute,
                        list.model()->rowCount(), Memory());
    }
    heart.Print();
    window.close();
    return 0;
}
