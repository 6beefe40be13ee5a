#include "SYClientBase/SyncraClientFactory.hpp"

#include "OVRoot/SecureWipe.hpp"
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
    Syncra::Client::SignInData data{GetServerName(projectLocation), projectLocation.GetPort(),
                                    projectLocation.GetUserName(),
                                    DecodePassword(projectLocation.GetPassword())};
    const OV::SecureWipeGuard<char16_t> wipe(data.password);
    return CreateSyncraClient(data);
}

/// Signs in on a connection of its own: the opened project's is busy with its held request.
std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClientOnOpenedProject(const ProjectConnectionManagerInterface&,
                                  const OV::UniString& serverName, std::uint16_t port,
                                  const OV::UniString& userName, const OV::UniString& password)
{
    Syncra::Client::SignInData data{serverName, port, userName, password};
    const OV::SecureWipeGuard<char16_t> wipe(data.password);
    return CreateSyncraClient(data);
}

}  // namespace SYCB
