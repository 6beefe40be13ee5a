#include "SyncraServerManagement/ProjectRepository.hpp"

#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraServerManagement/Detail/RepositoryRequests.hpp"

namespace Syncra::Server::Management {

ProjectRepository::ProjectRepository(const Client::SignInData& data)
    : requests_(std::make_unique<Detail::RepositoryRequests>(data))
{}

ProjectRepository::~ProjectRepository() = default;

void ProjectRepository::MergeCategories(const OV::Array<OV::UniString>& from,
                                        const OV::UniString& into)
{
    requests_->Post(Detail::MakePath("/categories/{}/merge", {into}), MergedCategories{from});
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
