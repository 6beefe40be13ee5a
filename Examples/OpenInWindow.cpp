// Opens a project while a window shows each step and a button cancels it. The window never waits:
// the check runs on a worker, and what it tells comes through Qt's event loop.
#include "Dlg/Qt/QtToolkit.hpp"
#include "Example.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "StartCheck.hpp"

#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

namespace {

QString Shown(const OV::UniString& text)
{
    return QString::fromStdU16String(text);
}

class OpeningWindow : public QWidget {
public:
    explicit OpeningWindow(const char* url)
        : manager_(Example::ProjectUrl(url), SYC::RegisteredProjects::GetDefaultDataFolder(), {}),
          connection_(std::make_shared<SYC::ReadProjectConnection>(&manager_))
    {
        setWindowTitle("Open a project");
        bar_.setRange(0, 0);  // nobody knows how long the server takes
        auto* layout = new QVBoxLayout(this);
        for (QWidget* each : std::initializer_list<QWidget*>{&steps_, &bar_, &outcome_, &button_})
            layout->addWidget(each);
        connect(&button_, &QPushButton::clicked, this, [this] { stop_.request_stop(); });
        Open();
    }
    ~OpeningWindow() override { stop_.request_stop(); }

    int exitCode = 1;

private:
    void Open()
    {
        SYC::CheckOptions options;
        options.stop = stop_.get_token();
        options.allowTakeover = true;
        options.progress = [this](SYC::CheckStep step) {
            steps_.addItem(Shown(SYC::ToText(step)));
        };
        SYC::StartCheck(connection_, options, worker_, mainThread_,
                        [this](SYC::CheckResult result, const SYC::Failure& failure) {
                            Finish(result, failure);
                        });
    }
    void Finish(SYC::CheckResult result, const SYC::Failure& failure)
    {
        bar_.hide();
        outcome_.setText(
            Shown(failure ? failure.sentence + u" " + failure.advice : SYC::ToText(result)));
        std::cout << steps_.count() << " steps: " << outcome_.text().toStdString() << '\n';
        button_.setText("Close");
        connect(&button_, &QPushButton::clicked, this, &QWidget::close);
        exitCode = failure ? 1 : 0;
        if (!failure)
            close();  // a host shows the project now
    }

    std::stop_source stop_;
    SYC::ClientProjectConnectionManager manager_;
    std::shared_ptr<SYC::ReadProjectConnection> connection_;
    QListWidget steps_{this};
    QProgressBar bar_{this};
    QLabel outcome_{this};
    QPushButton button_{"Cancel", this};
    // Last, so that what they run ends before anything it needs.
    SYCB::MessageLoopExecutor mainThread_;
    OV::PooledExecutor worker_{0, 1, 0};
};

}  // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        const Dlg::QtToolkit toolkit;
        OpeningWindow window(arguments[1]);
        window.show();
        QApplication::exec();
        return window.exitCode;
    });
}
