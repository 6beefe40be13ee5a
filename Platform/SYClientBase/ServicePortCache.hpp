#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/ServicePort.hpp"

namespace SYCB {

/// The services beside the model service; the numbers are the platform's.
enum class ServiceType : std::int32_t { Management = 0, Messaging = 1 };

/// Where the services of the servers listen, asked once a server and process. Safe on any thread; a
/// request is made on the calling thread without holding up the others.
class SYC_API ServicePortCache {
public:
    /// The one of this process, which lives until its end.
    [[nodiscard]] static ServicePortCache& GetInstance();

    /// The port of the service; 0 when the server lists none. When it is not known yet, the server
    /// is asked with the given login if `mayAsk`, and 0 is returned otherwise; a server that lists
    /// it later is found then. Throws as CreateSyncraClient does. Asking
    /// takes two requests, each at most as long as HttpOptions allow, and ends within 100 ms of an
    /// interruption of the calling thread.
    [[nodiscard]] std::uint16_t GetServicePort(const OV::UniString& serverName,
                                               std::uint16_t modelPort,
                                               const OV::UniString& userName,
                                               const OV::Secret& password, ServiceType service,
                                               bool mayAsk, bool withoutVersionCheck = false);
    /// For who found nobody at a port: the next question goes to the server.
    void Forget(OV::UniStringView serverName, std::uint16_t modelPort);

private:
    using Ports = OV::Array<Syncra::Protocol::ServicePort>;
    std::uint16_t Known(const OV::UniString& key, ServiceType service) const;

    mutable OV::Lock lock_;
    OV::HashTable<OV::UniString, Ports> ports_ OV_GUARDED_BY(lock_);
};

}  // namespace SYCB
