#include "StartCheck.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Logger.hpp"
#include "ProjectConnectionBase.hpp"

#include <utility>

namespace SYC {

namespace {

void Post(OV::Executor& home, std::function<void()> work) noexcept
{
    try {
        if (home.Execute(OV::MakeTask(std::move(work))))
            return;
        OV::Logger::Warning(OV::Logger::Library,
                            u"A check ended, and the host's executor takes nothing any more.", {});
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"The end of % could not be told: %",
                                u"a check");
    }
}

/// Tells the end once: what is destroyed before was cancelled.
class Ending {
public:
    Ending(OV::Executor& home, CheckEnd onEnd) : home_(home), onEnd_(std::move(onEnd)) {}
    ~Ending()
    {
        if (onEnd_)
            Tell(CheckResult::Offline, MakeCancelled());
    }
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    void Tell(CheckResult result, Failure failure) noexcept
    {
        Post(home_, [result, failure = std::move(failure), onEnd = std::exchange(onEnd_, nullptr)] {
            onEnd(result, failure);
        });
    }

private:
    static Failure MakeCancelled() noexcept
    {
        return DescribeException(std::make_exception_ptr(OV::InterruptedException()));
    }

    OV::Executor& home_;
    CheckEnd onEnd_;
};

}  // namespace

void StartCheck(std::shared_ptr<ProjectConnectionBase> connection, CheckOptions options,
                OV::Executor& worker, OV::Executor& home, CheckEnd onEnd)
{
    if (!connection || !onEnd)
        throw OV::NullReferenceException();
    if (options.progress)
        options.progress = [&home, progress = std::move(options.progress)](CheckStep step) {
            Post(home, [progress, step] { progress(step); });
        };
    const auto ending = std::make_shared<Ending>(home, std::move(onEnd));
    (void)worker.Execute(OV::MakeTask(
        [connection = std::move(connection), options = std::move(options), ending]() mutable {
            const CheckResult result = connection->Check(options);
            Failure failure = connection->GetLastFailure();
            // Whoever hears of the end may be the connection's last owner.
            connection.reset();
            ending->Tell(result, std::move(failure));
        }));
}

}  // namespace SYC
