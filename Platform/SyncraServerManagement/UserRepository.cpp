#include "SyncraServerManagement/UserRepository.hpp"

#include "IO/Location.hpp"
#include "OVRoot/PercentCoding.hpp"
#include "SyncraClient/Detail/SignedInChannel.hpp"

namespace Syncra::Server::Management {

namespace {

using Communication::HttpMethod;
using Communication::HttpRequest;

constexpr const char* BasePath = "/root/syncrav2";

const OV::UniString& Require(const Properties& properties, const OV::UniString& name)
{
    const auto found = properties.find(name);
    if (found == properties.end())
        throw OV::IllegalArgumentException(u"The property \"" + name + u"\" is missing.");
    return found->second;
}

Client::SignInData SignInOf(const Properties& properties)
{
    const auto& url = Require(properties, PropertyNames::UserRepositoryUrl);
    const IO::Location location = IO::Location::FromUrlText(url);
    const bool isPlace =
        (location.GetScheme() == u"http" || location.GetScheme() == u"https") &&
        location.GetPort() != 0 &&
        location.GetComponents() == std::vector<OV::UniString>{u"root", u"syncrav2"};
    if (!isPlace)
        throw OV::IllegalArgumentException(
            u"\"" + url +
            u"\" is no user repository. One looks like http://server:port/root/syncrav2.");
    return {location.GetScheme() == u"https" ? u"https://" + location.GetHost()
                                             : location.GetHost(),
            location.GetPort(), Require(properties, PropertyNames::UserRepositoryPrincipal),
            Require(properties, PropertyNames::UserRepositoryCredentials)};
}

class HttpUserRepository final : public UserRepository {
public:
    explicit HttpUserRepository(const Client::SignInData& data)
        : channel_(data, Communication::DefaultHttpOptions())
    {}

    Protocol::Photo GetUserPhoto(const OV::UniString& loginName) override
    {
        return channel_.Ask(Request(HttpMethod::Get, User(loginName) + "/photo"),
                            Protocol::FromJson<Protocol::Photo>);
    }

    void SetUserPhoto(const OV::UniString& loginName, const Protocol::Photo& photo) override
    {
        channel_.Ask(Request(HttpMethod::Put, User(loginName) + "/photo",
                             Protocol::DumpJson(Protocol::ToJson(photo))),
                     [](const nlohmann::json&) {});
    }

private:
    static HttpRequest Request(HttpMethod method, const OV::String& path, OV::String body = {})
    {
        HttpRequest request;
        request.method = method;
        request.target = BasePath + path;
        request.body = std::move(body);
        return request;
    }
    static OV::String User(OV::UniStringView loginName)
    {
        return "/users/" + OV::PercentEncode(OV::ToUtf8(OV::EscapeForCarrier(loginName)));
    }

    Client::Detail::SignedInChannel channel_;
};

}  // namespace

std::unique_ptr<UserRepository> CreateUserRepository(OV::UniStringView factoryName,
                                                     const Properties& properties)
{
    if (factoryName != u"WBEM")
        throw OV::IllegalArgumentException(u"There is no user repository factory \"" +
                                           OV::UniString(factoryName) + u"\".");
    return std::make_unique<HttpUserRepository>(SignInOf(properties));
}

}  // namespace Syncra::Server::Management
