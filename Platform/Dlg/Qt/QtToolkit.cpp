#include "Dlg/Qt/QtToolkit.hpp"

#include "Dlg/Qt/Detail/QtDialogWindow.hpp"
#include "Dlg/Qt/Detail/QtText.hpp"
#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Lock.hpp"
#include "SYClientBase/MessageLoop.hpp"

#include <QApplication>
#include <QEventLoop>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <algorithm>

namespace Dlg {

using Detail::FromQt;
using Detail::ToQt;
using Detail::ToQtLabel;

/// What threads that post share with the toolkit: one may hold the poster while the toolkit goes.
struct QtToolkit::Loop {
    OV::Lock lock;
    bool isOpen OV_GUARDED_BY(lock) = true;
    SYCB::MessageLoop::Poster formerPoster;
    SYCB::MessageLoop::Runner formerRunner;

    void Close()
    {
        const OV::LockGuard guard(lock);
        isOpen = false;
    }

    void Post(OV::RunnableTask task)
    {
        {
            const OV::LockGuard guard(lock);
            if (isOpen) {
                QMetaObject::invokeMethod(
                    qApp, [task] { OV::Detail::RunLogged("MessageLoop", [&] { task->Run(); }); },
                    Qt::QueuedConnection);
                return;
            }
        }
        SYCB::MessageLoop::Post(std::move(task));
    }
};

namespace {

/// For who waits on the main thread; on another one nothing runs, and he waits alone.
void RunLoop(std::uint32_t milliseconds)
{
    if (QThread::currentThread() != qApp->thread())
        return QThread::msleep(milliseconds);
    QEventLoop loop;
    QTimer::singleShot(static_cast<int>(milliseconds), &loop, &QEventLoop::quit);
    loop.processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

int LastButton(const OV::AlertResource& alert)
{
    return static_cast<int>(std::max<std::size_t>(alert.buttons.size(), 1));
}

int ShowMessageBox(const OV::AlertResource& alert)
{
    QMessageBox box(
        QMessageBox::Warning,
        alert.title.empty() ? QApplication::applicationDisplayName() : ToQt(alert.title),
        ToQt(alert.message).trimmed(), QMessageBox::NoButton, QApplication::activeWindow());
    box.setInformativeText(ToQt(alert.detail).trimmed());
    for (QLabel* label : box.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);  // a name in an alert is no mark-up
    QPushButton* last = nullptr;
    QList<QAbstractButton*> buttons;
    for (const OV::UniString& text : alert.buttons) {
        const bool isLast = buttons.size() + 1 == LastButton(alert);
        last = box.addButton(ToQtLabel(text),
                             isLast ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
        buttons.append(last);
    }
    if (last != nullptr) {
        box.setDefaultButton(last);
        box.setEscapeButton(last);
    }
    box.exec();
    const auto pressed = buttons.indexOf(box.clickedButton());
    return pressed < 0 ? LastButton(alert) : static_cast<int>(pressed) + 1;
}

}  // namespace

QtToolkit::QtToolkit() : loop_(std::make_shared<Loop>())
{
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr)
        throw OV::IllegalArgumentException("Dialogs in windows need the host's QApplication.");
    loop_->formerPoster = SYCB::MessageLoop::SetPoster(
        [loop = loop_](OV::RunnableTask task) { loop->Post(std::move(task)); });
    loop_->formerRunner = SYCB::MessageLoop::SetRunner(RunLoop);
    // What was posted before would wait in a queue that nobody runs any more.
    QMetaObject::invokeMethod(
        qApp, [] { SYCB::MessageLoop::RunPending(); }, Qt::QueuedConnection);
    formerToolkit_ = Toolkit::SetCurrent(this);
    formerPresenter_ = OV::AlertPresenter::SetCurrent(this);
}

QtToolkit::~QtToolkit()
{
    OV::AlertPresenter::SetCurrent(formerPresenter_);
    Toolkit::SetCurrent(formerToolkit_);
    SYCB::MessageLoop::SetRunner(loop_->formerRunner);
    SYCB::MessageLoop::SetPoster(loop_->formerPoster);
    loop_->Close();
}

std::unique_ptr<DialogWindow> QtToolkit::MakeWindow(const DialogDescription& description,
                                                    WindowEvents& events)
{
    return std::make_unique<Detail::QtDialogWindow>(description, events);
}

std::optional<IO::Location> QtToolkit::AskSaveFile(const OV::UniString& title,
                                                   const OV::UniString& suggestedName)
{
    const QString path = QFileDialog::getSaveFileName(QApplication::activeWindow(), ToQt(title),
                                                      ToQt(suggestedName));
    if (path.isEmpty())
        return std::nullopt;
    return IO::Location::FromPath(FromQt(QDir::toNativeSeparators(path)));
}

int QtToolkit::Show(const OV::AlertResource& alert)
{
    if (QThread::currentThread() == qApp->thread())
        return ShowMessageBox(alert);
    loop_->Post(OV::MakeTask([alert] { ShowMessageBox(alert); }));
    return LastButton(alert);
}

}  // namespace Dlg
