#pragma once

#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The process's strategy while it lives: waits without a dialog, writes down each alert as
/// "error object name", and answers it as the test says, at first never with "Try again".
class ScriptedStrategy
    : public Syncra::Server::ManagementTool::Core::UserAsyncTaskExecutingImplementation {
    using ErrorType = Syncra::Server::ManagementTool::Core::ErrorType;
    using ObjectType = Syncra::Server::ManagementTool::Core::ObjectType;
    using Task = Syncra::Server::ManagementTool::Core::AsyncTaskExecuting::Task;

public:
    ScriptedStrategy()
    {
        Syncra::Server::ManagementTool::Core::SetUserAsyncTaskExecutingImplementation(this);
    }
    ~ScriptedStrategy() override
    {
        Syncra::Server::ManagementTool::Core::SetUserAsyncTaskExecutingImplementation(nullptr);
    }

    bool ExecuteTask(const OV::Ref<Task>& task, OV::Executor* executor,
                     std::uint32_t delayMilliseconds) override
    {
        ++tasks;
        if (cancelsAt > 0 && --cancelsAt == 0)
            return false;
        return UserAsyncTaskExecutingImplementation::ExecuteTask(task, executor, delayMilliseconds);
    }
    short ShowAlert(ErrorType error, ObjectType object, const OV::UniString* name) override
    {
        alerts.push_back(std::to_string(static_cast<int>(error)) + ' ' +
                         std::to_string(static_cast<int>(object)) +
                         (name != nullptr ? ' ' + OV::ToUtf8(*name) : std::string()));
        return answer ? answer() : short(0);
    }

    [[nodiscard]] std::vector<std::string> TakeAlerts() { return std::exchange(alerts, {}); }

    int tasks = 0;  ///< what was waited for by it
    /// Which request from now on the user gives up; 0 for none.
    int cancelsAt = 0;
    std::vector<std::string> alerts;
    std::function<short()> answer;
};
