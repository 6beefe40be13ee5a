#pragma once

#include "CheckOptions.hpp"
#include "CheckResult.hpp"
#include "Failure.hpp"
#include "OVRoot/Export.hpp"

#include <functional>
#include <memory>

namespace OV {
class Executor;
}

namespace SYC {

class ProjectConnectionBase;

/// How a check that was started ended. `failure` is the connection's GetLastFailure.
using CheckEnd = std::function<void(CheckResult result, const Failure& failure)>;

/// Runs `connection->Check(options)` on `worker` and returns at once. `options.progress` and then
/// `onEnd` are called on `home`, in order; `onEnd` exactly once, whatever happens: a check that
/// `worker` does not take or drops ends as a cancelled one. Only when `home` itself takes nothing
/// any more is nobody called. Until then nobody else uses the connection, or its manager but for
/// the signal client; events are posted on the worker's thread.
///
/// `options.stop` ends it within 100 ms. Without that it takes as long as the server may take for
/// each of some eight requests (HttpOptions: 10 s to connect, 30 s of silence each). Both executors
/// outlive the check, `home` what was posted to it.
SYC_API void StartCheck(std::shared_ptr<ProjectConnectionBase> connection, CheckOptions options,
                        OV::Executor& worker, OV::Executor& home, CheckEnd onEnd);

}  // namespace SYC
