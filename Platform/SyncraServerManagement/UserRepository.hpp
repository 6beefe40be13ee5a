#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"
#include "SyncraProtocol/Member.hpp"

#include <memory>

namespace Syncra::Server::Management {

/// The users of a server. Every call is a request and blocks for its answer; one thread at a time.
/// Failures are those of Syncra::Client::SyncraClient.
class UserRepository {
public:
    virtual ~UserRepository() = default;

    /// Empty when the user has none.
    [[nodiscard]] virtual Protocol::Photo GetUserPhoto(const OV::UniString& loginName) = 0;
    /// An empty photo takes the present one away.
    virtual void SetUserPhoto(const OV::UniString& loginName, const Protocol::Photo& photo) = 0;
};

/// How a repository is told where it is and who asks.
using Properties = OV::HashTable<OV::UniString, OV::UniString>;
namespace PropertyNames {
/// "http://host:port/root/syncrav2", or with "https".
inline const OV::UniString UserRepositoryUrl = u"UserRepositoryUrl";
inline const OV::UniString UserRepositoryPrincipal = u"UserRepositoryPrincipal";  ///< login name
inline const OV::UniString UserRepositoryCredentials = u"UserRepositoryCredentials";  ///< password
}  // namespace PropertyNames

/// A signed-in repository of the kind that the factory of that name makes; "WBEM" is the one there
/// is. Throws OV::IllegalArgumentException for another name and for properties that are missing or
/// no such address, and what signing in throws.
[[nodiscard]] std::unique_ptr<UserRepository> CreateUserRepository(OV::UniStringView factoryName,
                                                                   const Properties& properties);

}  // namespace Syncra::Server::Management
