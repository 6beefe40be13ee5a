#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <memory>

namespace SYCB {

/// The server's version is incompatible with this client. (The spelling is the platform's.)
class SYC_API IncopatibleServerVersionException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(IncopatibleServerVersionException)
};

/// Does `work`; what the client says of a server of another version becomes the exception above.
template <class Work>
auto WithServerVersionException(Work&& work)
{
    try {
        return work();
    } catch (const Syncra::Client::ServerVersionException& version) {
        throw IncopatibleServerVersionException(version.GetMessage(), OV::SourcePlace::Here(),
                                                version.Clone());
    }
}

/// A client signed in with a login in clear text. This and the two below take one request, at most
/// as long as HttpOptions allow, and end within 100 ms of an interruption of the calling thread.
/// Throws IncopatibleServerVersionException, and otherwise as Syncra::Client::Connect. A server
/// that answered is remembered as a working connection (see ConnectionValidator.hpp).
[[nodiscard]] SYC_API std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClient(const Syncra::Client::SignInData& data);

/// A client signed in to the server of a project URL; the coded password is decoded here, which may
/// throw PasswordCodingException.
[[nodiscard]] SYC_API std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClient(const IO::Location& projectLocation);

/// A client signed in beside the opened project of `manager`.
[[nodiscard]] SYC_API std::unique_ptr<Syncra::Client::SyncraClient>
CreateSyncraClientOnOpenedProject(const ProjectConnectionManagerInterface& manager,
                                  const OV::UniString& serverName, std::uint16_t port,
                                  const OV::UniString& userName, const OV::Secret& password);

}  // namespace SYCB
