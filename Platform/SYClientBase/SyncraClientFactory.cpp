#include "SYClientBase/SyncraClientFactory.hpp"

#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/PasswordCoding.hpp"
#include "SYClientBase/ProjectURL.hpp"

namespace SYCB {

std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClient(const Syncra::Client::SignInData& data)
{
    auto client = WithServerVersionException([&] { return Syncra::Client::Connect(data); });
    ConnectionValidator::GetInstance().SetWorkingConnectionForServer({data.serverName, data.port},
                                                                     true);
    return client;
}

std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClient(const IO::Location& projectLocation)
{
    return CreateSyncraClient(Syncra::Client::SignInData{
        GetServerName(projectLocation), projectLocation.GetPort(), projectLocation.GetUserName(),
        DecodePassword(projectLocation.GetPassword())});
}

/// Signs in on a connection of its own: the opened project's is busy with its held request.
std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClientOnOpenedProject(const ProjectConnectionManagerInterface&,
                                  const OV::UniString& serverName, std::uint16_t port,
                                  const OV::UniString& userName, const OV::Secret& password)
{
    return CreateSyncraClient(Syncra::Client::SignInData{serverName, port, userName, password});
}

}  // namespace SYCB
