#pragma once

#include "SyncraProtocol/Management/ConnectedModule.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/ServerConfiguration.hpp"
#include "SyncraProtocol/Management/V2/Project.hpp"
#include "SyncraProtocol/ServicePort.hpp"
#include "SyncraServerManagement/RecordFamily.hpp"
#include "SyncraServerManagement/RepositoryProperties.hpp"

#include <memory>

namespace Syncra::Server::Management {

/// The projects of a server, for the user who signed in. Calls and failures are like those of
/// UserRepository.
class ProjectRepository {
public:
    virtual ~ProjectRepository() = default;

    /// The families live as long as the repository. A project's password is neither sent nor read.
    [[nodiscard]] virtual RecordFamily<V2::Project>& Projects() = 0;
    [[nodiscard]] virtual RecordFamily<ProjectCategory>& Categories() = 0;
    [[nodiscard]] virtual RecordFamily<ConnectedModule>& Modules() = 0;

    /// Projects of the categories `from` come under `into`, and `from` are deleted, together or not
    /// at all.
    virtual void MergeCategories(const OV::Array<OV::UniString>& from,
                                 const OV::UniString& into) = 0;

    [[nodiscard]] virtual ServerConfiguration GetConfiguration() = 0;
    virtual void SetConfiguration(const ServerConfiguration& configuration) = 0;
    [[nodiscard]] virtual OV::Array<Protocol::ServicePort> GetPorts() = 0;

    /// False once a call did not reach the server, and after Close. Safe on any thread.
    [[nodiscard]] virtual bool IsUsable() const = 0;
    /// Ends the call under way and every later one with OV::InterruptedException. Safe on any
    /// thread.
    virtual void Close() = 0;
};

/// As CreateUserRepository, for the project repository beside it.
[[nodiscard]] std::unique_ptr<ProjectRepository>
CreateProjectRepository(OV::UniStringView factoryName, const Properties& properties);

}  // namespace Syncra::Server::Management
