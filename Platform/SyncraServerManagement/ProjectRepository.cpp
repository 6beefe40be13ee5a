#include "SyncraServerManagement/ProjectRepository.hpp"

#include "SyncraServerManagement/Detail/HttpRecordFamily.hpp"
#include "SyncraServerManagement/Detail/SignInProperties.hpp"

namespace Syncra::Server::Management {

namespace {

class HttpProjectRepository final : public ProjectRepository {
public:
    explicit HttpProjectRepository(const Client::SignInData& data) : channel_(data) {}

    RecordFamily<V2::Project>& Projects() override { return projects_; }
    RecordFamily<ProjectCategory>& Categories() override { return categories_; }
    RecordFamily<ConnectedModule>& Modules() override { return modules_; }

    void MergeCategories(const OV::Array<OV::UniString>& from, const OV::UniString& into) override
    {
        channel_.Tell(Method::Post, categories_.PathOf(into) + "/merge",
                      Protocol::DumpJson({{"categories", Protocol::TextsToJson(from)}}));
    }

    ServerConfiguration GetConfiguration() override
    {
        return channel_.Ask(Method::Get, "/configuration", {},
                            Protocol::FromJson<ServerConfiguration>);
    }
    void SetConfiguration(const ServerConfiguration& configuration) override
    {
        channel_.Tell(Method::Put, "/configuration", Protocol::DumpJson(ToJson(configuration)));
    }
    OV::Array<Protocol::ServicePort> GetPorts() override
    {
        return channel_.Ask(Method::Get, "/ports", {}, [](const nlohmann::json& json) {
            OV::Array<Protocol::ServicePort> ports;
            for (const auto& item : Protocol::ReadArray(json, "ports"))
                ports.push_back(Protocol::FromJson<Protocol::ServicePort>(item));
            return ports;
        });
    }

    bool IsUsable() const override { return channel_.IsUsable(); }
    void Close() override { channel_.Close(); }

private:
    using Method = Detail::RepositoryChannel::Method;

    Detail::RepositoryChannel channel_;
    Detail::HttpRecordFamily<V2::Project> projects_{channel_, "/projects"};
    Detail::HttpRecordFamily<ProjectCategory> categories_{channel_, "/categories"};
    Detail::HttpRecordFamily<ConnectedModule> modules_{channel_, "/modules"};
};

}  // namespace

std::unique_ptr<ProjectRepository> CreateProjectRepository(OV::UniStringView factoryName,
                                                           const Properties& properties)
{
    return std::make_unique<HttpProjectRepository>(Detail::SignInOf(factoryName, properties));
}

}  // namespace Syncra::Server::Management
