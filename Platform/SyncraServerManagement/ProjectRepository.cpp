#include "SyncraServerManagement/ProjectRepository.hpp"

#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraServerManagement/Detail/RepositoryRequests.hpp"

namespace Syncra::Server::Management {

using Detail::MakePath;

ProjectRepository::ProjectRepository(const Client::SignInData& data,
                                     const Communication::HttpOptions& options)
    : requests_(std::make_unique<Detail::RepositoryRequests>(data, options))
{}

ProjectRepository::~ProjectRepository() = default;

void ProjectRepository::MergeCategories(const OV::Array<OV::UniString>& from,
                                        const OV::UniString& into)
{
    requests_->Post(MakePath("/categories/{}/merge", {into}), MergedCategories{from});
}

void ProjectRepository::AddMember(const OV::UniString& projectId, const OV::UniString& loginName,
                                  const OV::UniString& role)
{
    requests_->Post(MakePath("/projects/{}/members", {projectId}), NewMember{loginName, role});
}

void ProjectRepository::SetMemberRole(const OV::UniString& projectId, const OV::UniString& user,
                                      const OV::UniString& role)
{
    requests_->Put(MakePath("/projects/{}/members/{}", {projectId, user}), RoleOfMember{role});
}

void ProjectRepository::RemoveMember(const OV::UniString& projectId, const OV::UniString& user)
{
    requests_->Delete(MakePath("/projects/{}/members/{}", {projectId, user}));
}

OV::Array<Protocol::SessionAtWork> ProjectRepository::GetSessions(const OV::UniString& projectId)
{
    return requests_
        ->Get<Protocol::SessionsAtWork>(
            projectId.empty() ? "/sessions" : MakePath("/sessions?project={}", {projectId}))
        .value;
}

void ProjectRepository::EndSession(const OV::UniString& sessionId, const OV::UniString& reason)
{
    requests_->Post(MakePath("/sessions/{}/end", {sessionId}), Protocol::ReasonOfEnd{reason});
}

ServerConfiguration ProjectRepository::GetConfiguration()
{
    return requests_->Get<ServerConfiguration>("/configuration");
}

void ProjectRepository::SetConfiguration(const ServerConfiguration& configuration)
{
    requests_->Put("/configuration", configuration);
}

bool ProjectRepository::IsUsable() const
{
    return requests_->IsUsable();
}

void ProjectRepository::Close()
{
    requests_->Close();
}

std::unique_ptr<ProjectRepository> CreateProjectRepository(OV::UniStringView factoryName,
                                                           const Properties& properties)
{
    return std::make_unique<ProjectRepository>(Detail::SignInOf(factoryName, properties));
}

}  // namespace Syncra::Server::Management
