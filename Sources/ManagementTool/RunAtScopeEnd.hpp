#pragma once

#include "OVRoot/Executor.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Runs a task, if it holds one, on every way out of a scope. What the task throws is logged: there
/// may be an exception under way already.
class RunAtScopeEnd {
public:
    RunAtScopeEnd() = default;
    explicit RunAtScopeEnd(OV::RunnableTask task) : task_(std::move(task)) {}
    ~RunAtScopeEnd();
    RunAtScopeEnd(const RunAtScopeEnd&) = delete;
    RunAtScopeEnd& operator=(const RunAtScopeEnd&) = delete;

    /// Replaces the task; the former one is not run. An empty one holds none.
    void SetEndTask(OV::RunnableTask task) { task_ = std::move(task); }

private:
    OV::RunnableTask task_;
};

}  // namespace Syncra::Server::ManagementTool::Core
