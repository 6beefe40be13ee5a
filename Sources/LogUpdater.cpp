#include "LogUpdater.hpp"

#include "OVRoot/Logger.hpp"

void LogUpdater::Start()
{
    thread_.reset();
    isRunning_ = true;
    thread_.emplace("log updater", [this] { Run(); });
}

void LogUpdater::Run()
{
    try {
        Update();
    } catch (const OV::InterruptedException&) {
        OV::Logger::Info("SYClient", u"LogUpdater::Update was interrupted", {});
    } catch (const OV::Exception& failure) {
        OV::Logger::Info("SYClient", u"LogUpdater::Update: %", {failure.GetMessage()});
        isRunning_ = false;
        Tell([&](EventLogObserver& observer) { observer.UpdateFailed(failure.GetMessage()); });
    }
    isRunning_ = false;
}

void LogUpdater::Interrupt()
{
    if (thread_)
        thread_->Interrupt();
}

void LogUpdater::Await()
{
    if (thread_)
        thread_->Join();
}
