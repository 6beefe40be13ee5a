#pragma once

#include "ClientProjectConnectionManager.hpp"
#include "Failure.hpp"
#include "LogIndex/TextParser.hpp"
#include "ManagementTool/AsyncTaskExecuting.hpp"

#include <memory>

namespace SYC {
class BinCacheHandler;
}

/// What the window asks of a server.
namespace ServerTasks {

using Task = Syncra::Server::ManagementTool::Core::AsyncTaskExecuting::Task;

/// Ends the server session.
class CloseProject final : public Task {
public:
    explicit CloseProject(std::shared_ptr<SYC::ClientProjectConnectionManager> manager)
        : manager_(std::move(manager))
    {}

    /// Why it was not closed.
    SYC::Failure failure;

private:
    bool RunTask() override;
    std::shared_ptr<SYC::ClientProjectConnectionManager> manager_;
};

/// Runs the task behind the communicating dialog; true when it succeeded. One that the user gave up
/// finishes in the background and is dropped.
[[nodiscard]] bool Run(const OV::Ref<Task>& task);

/// Brings the log and the statistics of a server up to date in its cache, on the calling thread.
/// Throws OV::Exception; the cache then holds what there is all the same. That the load of the
/// server is not for this user is no error.
void UpdateLog(const LogSource& source, SYC::BinCacheHandler& cache);

}  // namespace ServerTasks
