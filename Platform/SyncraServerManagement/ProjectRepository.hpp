#pragma once

#include "OVRoot/Export.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "SyncraProtocol/Management/ConnectedModule.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/ServerConfiguration.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"
#include "SyncraProtocol/Session.hpp"
#include "SyncraServerManagement/RecordFamily.hpp"
#include "SyncraServerManagement/RepositoryProperties.hpp"

#include <memory>

namespace Syncra::Client {
struct SignInData;
}

namespace Syncra::Server::Management {

/// The projects of a server, for the user who signed in. Calls and failures are like those of
/// UserRepository.
class SYC_API ProjectRepository {
public:
    /// Signs in, which is one request; throws as the calls do.
    explicit ProjectRepository(
        const Client::SignInData& data,
        const Communication::HttpOptions& options = Communication::DefaultHttpOptions());
    ~ProjectRepository();
    ProjectRepository(const ProjectRepository&) = delete;
    ProjectRepository& operator=(const ProjectRepository&) = delete;

    /// The families live as long as the repository. A project's password is neither sent nor read.
    [[nodiscard]] RecordFamily<V2::Project>& Projects() { return projects_; }
    /// As Projects.
    /// @{
    [[nodiscard]] RecordFamily<ProjectCategory>& Categories() { return categories_; }
    [[nodiscard]] RecordFamily<ConnectedModule>& Modules() { return modules_; }
    /// @}

    /// Projects of the categories `from` come under `into`, and `from` are deleted, together or not
    /// at all.
    void MergeCategories(const OV::Array<OV::UniString>& from, const OV::UniString& into);

    // The members of a project one by one. `user` is an identifier or a login name, `role` a name.
    /// Throws UserRepositoryObjectNotFoundException when user, role or project is none of the
    /// server's.
    void AddMember(const OV::UniString& projectId, const OV::UniString& loginName,
                   const OV::UniString& role);
    /// The same for one who is a member.
    void SetMemberRole(const OV::UniString& projectId, const OV::UniString& user,
                       const OV::UniString& role);
    /// Ends his session, and deletes his mails.
    void RemoveMember(const OV::UniString& projectId, const OV::UniString& user);

    /// Who works in a project, or for an empty `projectId` in any whose members the user manages.
    [[nodiscard]] OV::Array<Protocol::SessionAtWork> GetSessions(const OV::UniString& projectId);
    /// Its owner is told who did so, and the reason.
    void EndSession(const OV::UniString& sessionId, const OV::UniString& reason);

    /// The server's settings, for administrators; what is set is replaced whole.
    /// @{
    [[nodiscard]] ServerConfiguration GetConfiguration();
    void SetConfiguration(const ServerConfiguration& configuration);
    /// @}

    /// False once a call did not reach the server, and after Close. Safe on any thread.
    [[nodiscard]] bool IsUsable() const;
    /// Ends the call under way and every later one with OV::InterruptedException. Safe on any
    /// thread.
    void Close();

private:
    std::unique_ptr<Detail::RepositoryRequests> requests_;
    RecordFamily<V2::Project> projects_{*requests_, "/projects"};
    RecordFamily<ProjectCategory> categories_{*requests_, "/categories"};
    RecordFamily<ConnectedModule> modules_{*requests_, "/modules"};
};

/// As CreateUserRepository, for the project repository beside it.
[[nodiscard]] SYC_API std::unique_ptr<ProjectRepository>
CreateProjectRepository(OV::UniStringView factoryName, const Properties& properties);

}  // namespace Syncra::Server::Management
