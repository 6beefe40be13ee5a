#include "SyncraURL.hpp"

#include "CachedProjectInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "SYClientBase/PasswordCoding.hpp"
#include "SYClientBase/ProjectURL.hpp"

namespace SYC {

OV::UniString GetSyncraURLScheme()
{
    return u"syncra";
}

bool IsSyncraURL(const IO::Location& location)
{
    return location.IsLegal() && location.GetNetworkModel() == IO::NetworkModel::Url &&
           location.GetScheme() == GetSyncraURLScheme() && !location.GetHost().empty() &&
           location.GetPort() != 0 && location.GetComponents().size() == 1;
}

OV::UniString ToUrl(const IO::Location& location)
{
    try {
        return location.ToUrlText();
    } catch (const std::exception&) {
        return u"Error in URL conversion";
    }
}

IO::Location GetSyncraURL(const IO::Location& cacheFolder)
{
    Inner::ProjectConnectionInfo info;
    CachedProjectInfo(cacheFolder).GetProjectConnectionInfo(info);
    return ToSyncraLocation(info);
}

IO::Location ToSyncraLocation(const Inner::ProjectConnectionInfo& info)
{
    IO::Location location = IO::Location::MakeUrl(GetSyncraURLScheme());
    location.SetUserName(info.userName);
    location.SetPassword(SYCB::CodePassword(info.password));
    location.SetPort(info.port);
    SYCB::SetServerName(location, info.serverName);
    SYCB::SetProjectName(location, info.projectName);
    return location;
}

Inner::ProjectConnectionInfo ToConnectionInfo(const IO::Location& location)
{
    Inner::ProjectConnectionInfo info;
    info.userName = location.GetUserName();
    info.password = SYCB::DecodePassword(location.GetPassword());
    info.port = location.GetPort();
    info.serverName = SYCB::GetServerName(location);
    info.projectName = SYCB::GetProjectName(location);
    return info;
}

Inner::ProjectConnectionInfo ToCheckedConnectionInfo(const IO::Location& location)
{
    if (!IsSyncraURL(location))
        throw OV::IllegalArgumentException(u"\"" + location.ToDisplayText() +
                                           u"\" is no project URL.");
    return ToConnectionInfo(location);
}

}  // namespace SYC
