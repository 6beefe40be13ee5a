#pragma once

#include "Flow/Flow.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

namespace SYC {

/// Deletes a project on its server, with its mails and its log; caches stay where they are. One
/// that is gone already counts as deleted. When the answer of the server was lost, it is asked once
/// whether the project is there still. For administrators and project managers.
class SYC_API DeleteProject final : public Flow {
public:
    /// As the server administers it.
    using Project = Syncra::Server::Management::V2::Project;

    /// Only the identifier and the name of `project` matter. Asks nobody.
    DeleteProject(Syncra::Client::SignInData login, Project project, const FlowExecutors& executors)
        : Flow(executors), login_(std::move(login)), project_(std::move(project))
    {}

    /// Deletes it for good; whether the user means it was asked before.
    void Delete();

private:
    const Syncra::Client::SignInData login_;
    const Project project_;
};

}  // namespace SYC
