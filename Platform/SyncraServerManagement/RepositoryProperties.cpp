#include "SyncraServerManagement/RepositoryProperties.hpp"

#include "IO/Location.hpp"
#include "SYCommunication/ServerAddress.hpp"
#include "SyncraServerManagement/Detail/SignInProperties.hpp"

namespace Syncra::Server::Management {

namespace {

const OV::UniString& Require(const Properties& properties, const OV::UniString& name)
{
    const auto found = properties.find(name);
    if (found == properties.end())
        throw OV::IllegalArgumentException(u"The property \"" + name + u"\" is missing.");
    return found->second;
}

}  // namespace

Properties MakeProperties(OV::UniStringView serverName, std::uint16_t managementPort,
                          const OV::UniString& userName, const OV::Secret& password)
{
    const auto address = Communication::ServerAddress::FromServerName(serverName, managementPort);
    // One by one: a list would keep another copy of the password.
    Properties properties;
    properties[PropertyNames::UserRepositoryUrl] =
        OV::FromUtf8(address.BaseUrl() + Detail::RootPath);
    properties[PropertyNames::UserRepositoryPrincipal] = userName;
    properties[PropertyNames::UserRepositoryCredentials] = password.View();
    return properties;
}

Client::SignInData Detail::SignInOf(OV::UniStringView factoryName, const Properties& properties)
{
    if (factoryName != FactoryName)
        throw OV::IllegalArgumentException(u"There is no repository factory \"" +
                                           OV::UniString(factoryName) + u"\".");
    const auto& url = Require(properties, PropertyNames::UserRepositoryUrl);
    const IO::Location location = IO::Location::FromUrlText(url);
    const bool isPlace =
        (location.GetScheme() == u"http" || location.GetScheme() == u"https") &&
        location.GetPort() != 0 &&
        location.GetComponents() == std::vector<OV::UniString>{u"root", u"syncrav2"};
    if (!isPlace)
        throw OV::IllegalArgumentException(
            u"\"" + url + u"\" is no repository. One looks like http://server:port/root/syncrav2.");
    return {location.GetScheme() == u"https" ? u"https://" + location.GetHost()
                                             : location.GetHost(),
            location.GetPort(), Require(properties, PropertyNames::UserRepositoryPrincipal),
            Require(properties, PropertyNames::UserRepositoryCredentials),
            properties.contains(PropertyNames::WithoutVersionCheck)};
}

}  // namespace Syncra::Server::Management
