#pragma once

#include "Flow/Flow.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

namespace SYC {

/// Changes the settings of a project on its server: name, description, category, state, members,
/// backups. Only what the user changed is changed there; what somebody else changed meanwhile
/// stays. The settings are the new ones as a whole or the former ones. For administrators and
/// project managers.
class SYC_API UpdateProjectSettings final : public Flow {
public:
    /// As the server administers it.
    using Project = Syncra::Server::Management::V2::Project;

    /// `project` is what the user looks at (see BrowseShareableProject).
    UpdateProjectSettings(Syncra::Client::SignInData login, Project project,
                          const FlowExecutors& executors)
        : Flow(executors), login_(std::move(login)), project_(std::move(project))
    {}

    /// Sends what differs between the two; some three requests.
    void Save(const Project& edited);
    /// As the server has it, after a Save that succeeded.
    [[nodiscard]] const Project& GetProject() const noexcept { return project_; }

private:
    const Syncra::Client::SignInData login_;
    Project project_;
};

}  // namespace SYC
