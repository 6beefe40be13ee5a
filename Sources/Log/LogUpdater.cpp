#include "Log/LogUpdater.hpp"

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "OVRoot/Logger.hpp"

#include <limits>

namespace SYC {

void LogUpdater::Start()
{
    thread_.reset();
    failure_ = {};
    isRunning_ = true;
    try {
        thread_.emplace("log updater", [this] { Run(); });
    } catch (...) {
        isRunning_ = false;
        throw;
    }
}

void LogUpdater::Run()
{
    try {
        Update();
        isRunning_ = false;
    } catch (const OV::InterruptedException&) {
        failure_ = DescribeException();
        isRunning_ = false;
        OV::Logger::Info(OV::Logger::Library, u"LogUpdater::Update was interrupted", {});
    } catch (...) {
        failure_ = DescribeException();
        isRunning_ = false;
        const OV::UniString reason = failure_.sentence;
        OV::Logger::Info(OV::Logger::Library, u"LogUpdater::Update: %", {reason});
        Tell([reason](EventLogObserver& observer) { observer.UpdateFailed(reason); });
    }
}

void LogUpdater::Flush(BinCacheHandler& cache, std::exception_ptr& failure)
{
    try {
        cache.FlushCacheData();
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (...) {
        if (!failure)
            failure = std::current_exception();
    }
}

void LogUpdater::TellProgress(std::uint64_t done, std::uint64_t left)
{
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t total = left > most - done ? most : done + left;
    Tell([=](EventLogObserver& observer) { observer.UpdateProgress(done, total); });
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

}  // namespace SYC
