#include "SessionWatch.hpp"

#include "CachedProjectInfo.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

namespace {

constexpr std::uint32_t WatchWorkerMilliseconds = 5'000;

}  // namespace

SessionWatch::SessionWatch(SYCB::PKSignalClient& signalClient,
                           SYCB::ProjectConnectionManagerInterface& manager, OV::Executor& executor)
    : OverExecutor(&executor), signalClient_(signalClient),
      cacheFolder_(manager.GetCachedProjectInfo()->GetCacheFolderLocation()),
      project_(std::make_unique<OpenedProject>(manager)), worker_(1, 1, WatchWorkerMilliseconds)
{
    signalClient_.Attach(*this);
    Ask();  // what happened before the signals began, none of them tells
}

SessionWatch::~SessionWatch()
{
    ToDestroy();
    signalClient_.Detach(*this);
    worker_.Cancel();
    worker_.AwaitTermination();
}

bool SessionWatch::_CheckSignalType(Syncra::Protocol::SignalId id) const
{
    return id == Syncra::Protocol::SignalId::SessionEnded;
}

void SessionWatch::_SignalReceived(const Syncra::Protocol::Signal&)
{
    GetTarget().Post([this] { Ask(); });
}

void SessionWatch::Ask()
{
    (void)worker_.Execute(OV::MakeTask([this, target = GetTarget()] {
        try {
            const auto session = CachedProjectInfo(cacheFolder_).GetSessionId();
            if (session.empty())
                return;
            std::optional<Syncra::Protocol::SessionEnd> end;
            project_->Ask(
                [&](Syncra::Client::SyncraClient& client) { end = client.GetSessionEnd(session); });
            if (!end)
                return;
            target.Post([this, session, told = *end] {
                if (std::exchange(toldSession_, session) != session)
                    observers_.Notify(
                        [&](SessionEndObserver& observer) { observer._SessionEnded(told); });
            });
        } catch (const OV::InterruptedException&) {
            // The watch ends, and nobody is left to be told.
        } catch (...) {
            OV::LogCurrentException(OV::Logger::Library, u"SYC::SessionWatch: % cannot be asked: %",
                                    u"the server");
        }
    }));
}

}  // namespace SYC
