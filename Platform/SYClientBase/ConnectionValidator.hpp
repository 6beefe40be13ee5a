#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "SYClientBase/ServerConnectionInfo.hpp"

#include <optional>

namespace SYCB {

/// Remembers, for the life of the process, which servers could be worked with. Host names count in
/// any letter case. Safe on any thread.
class SYC_API ConnectionValidator {
public:
    /// The one of this process, which lives until its end.
    [[nodiscard]] static ConnectionValidator& GetInstance();

    /// Remembers `info` as the way to its server, or forgets the server when `works` is false. What
    /// is unknown in `info` (0, empty) does not replace what is known already.
    void SetWorkingConnectionForServer(const ServerConnectionInfo& info, bool works);
    /// Nothing when no connection to that server is known to work.
    [[nodiscard]] std::optional<ServerConnectionInfo>
    GetWorkingConnectionForServer(OV::UniStringView serverName, std::uint16_t port) const;
    /// The name by which the server is reached: the one that is known to work, or its own.
    [[nodiscard]] OV::UniString GetWorkingHost(OV::UniStringView serverName,
                                               std::uint16_t port) const;
    /// All of them, in no particular order.
    [[nodiscard]] OV::Array<ServerConnectionInfo> GetWorkingConnections() const;

private:
    mutable OV::Lock lock_;
    OV::HashTable<OV::UniString, ServerConnectionInfo> working_ OV_GUARDED_BY(lock_);
};

}  // namespace SYCB
