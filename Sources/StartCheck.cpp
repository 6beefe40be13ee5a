#include "StartCheck.hpp"

#include "Flow/Detail/PostedEnd.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Executor.hpp"
#include "ProjectConnectionBase.hpp"

#include <utility>

namespace SYC {

void StartCheck(std::shared_ptr<ProjectConnectionBase> connection, CheckOptions options,
                OV::Executor& worker, OV::Executor& home, CheckEnd onEnd)
{
    if (!connection || !onEnd)
        throw OV::NullReferenceException();
    constexpr const char16_t* what = u"a check";
    if (options.progress)
        options.progress = [&home, progress = std::move(options.progress)](CheckStep step) {
            PostHome(home, what, [progress, step] { progress(step); });
        };
    const auto ending = std::make_shared<PostedEnd>(home, what, [onEnd] {
        onEnd(CheckResult::Offline,
              DescribeException(std::make_exception_ptr(OV::InterruptedException())));
    });
    (void)worker.Execute(
        OV::MakeTask([connection = std::move(connection), options = std::move(options),
                      onEnd = std::move(onEnd), ending]() mutable {
            const CheckResult result = connection->Check(options);
            Failure failure = connection->GetLastFailure();
            // Whoever hears of the end may be the connection's last owner.
            connection.reset();
            ending->Tell([result, failure = std::move(failure), onEnd = std::move(onEnd)] {
                onEnd(result, failure);
            });
        }));
}

}  // namespace SYC
