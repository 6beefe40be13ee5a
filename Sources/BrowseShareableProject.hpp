#pragma once

#include "Flow/Flow.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/Role.hpp"
#include "SyncraProtocol/Management/User.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

namespace SYC {

/// What a user may share on a server and change of what is shared there, with what is chosen among
/// on the way. Lists hold what the server lets the user see.
struct ShareableServer {
    OV::Array<Syncra::Server::Management::V2::Project> projects;        ///< that the user manages
    OV::Array<Syncra::Server::Management::ProjectCategory> categories;  ///< all of the server
    OV::Array<Syncra::Server::Management::Role> roles;                  ///< that a member may have
    OV::Array<Syncra::Server::Management::User> users;                  ///< those who may sign in
    bool mayShare = false;  ///< whether the user may add projects, and change and delete them
};

/// Reads it: some six requests.
class SYC_API BrowseShareableProject final : public Flow {
public:
    /// Nothing is asked for before Refresh.
    BrowseShareableProject(Syncra::Client::SignInData login, const FlowExecutors& executors)
        : Flow(executors), login_(std::move(login))
    {}

    /// Reads it anew; the former answer stays until the new one is there.
    void Refresh();
    /// As of the last refresh that succeeded.
    [[nodiscard]] const ShareableServer& GetServer() const noexcept { return server_; }

private:
    const Syncra::Client::SignInData login_;
    ShareableServer server_;
};

}  // namespace SYC
