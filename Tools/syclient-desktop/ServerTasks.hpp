#pragma once

#include "Charts.hpp"
#include "CheckResult.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "Failure.hpp"
#include "LogIndex/TextParser.hpp"
#include "ManagementTool/AsyncTaskExecuting.hpp"
#include "ManagementTool/ErrorType.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <memory>

/// The requests of the window, each a task that waits behind the communicating dialog. A task that
/// the user gave up finishes in the background and is dropped.
namespace ServerTasks {

using Manager = std::shared_ptr<SYC::ClientProjectConnectionManager>;
using Task = Syncra::Server::ManagementTool::Core::AsyncTaskExecuting::Task;

/// The projects that a user may see.
class ListProjects final : public Task {
public:
    explicit ListProjects(Syncra::Client::SignInData signIn) : signIn_(std::move(signIn)) {}

    OV::Array<Syncra::Protocol::Project> projects;
    /// What the server said when it refused, or why nothing was sent to it; empty when it could not
    /// be reached.
    OV::UniString refusal;

private:
    bool RunTask() override;
    Syncra::Client::SignInData signIn_;
};

/// Ends the server session.
class CloseProject final : public Task {
public:
    explicit CloseProject(Manager manager) : manager_(std::move(manager)) {}

    /// Why it was not closed.
    SYC::Failure failure;

private:
    bool RunTask() override;
    Manager manager_;
};

/// Brings the log and the statistics of a server up to date in the cache, and reads them.
class UpdateStatistics final : public Task {
public:
    explicit UpdateStatistics(LogSource source) : source_(std::move(source)) {}

    Charts::Data data;

private:
    bool RunTask() override;
    LogSource source_;
};

/// Runs the task with the process's strategy; true when it succeeded.
[[nodiscard]] bool Run(const OV::Ref<Task>& task);

}  // namespace ServerTasks
