#include "SYClientBase/ServicePortCache.hpp"

#include "SYClientBase/Detail/ServerKey.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

namespace SYCB {

namespace {

OV::UniStringView ServiceName(ServiceType service)
{
    return service == ServiceType::Management ? Syncra::Protocol::ServiceNames::Management
                                              : Syncra::Protocol::ServiceNames::Messaging;
}

std::uint16_t PortOf(const OV::Array<Syncra::Protocol::ServicePort>& ports, ServiceType service)
{
    for (const Syncra::Protocol::ServicePort& port : ports)
        if (port.service == ServiceName(service))
            return port.port;
    return 0;
}

}  // namespace

ServicePortCache& ServicePortCache::GetInstance()
{
    static auto& instance = *new ServicePortCache;
    return instance;
}

std::uint16_t ServicePortCache::Known(const OV::UniString& key, ServiceType service) const
{
    const OV::LockGuard guard(lock_);
    const auto found = ports_.find(key);
    return found == ports_.end() ? std::uint16_t(0) : PortOf(found->second, service);
}

std::uint16_t ServicePortCache::GetServicePort(const OV::UniString& serverName,
                                               std::uint16_t modelPort,
                                               const OV::UniString& userName,
                                               const OV::Secret& password, ServiceType service,
                                               bool mayAsk, bool withoutVersionCheck)
{
    const OV::UniString key = Detail::ServerKey(serverName, modelPort);
    const std::uint16_t known = Known(key, service);
    if (known != 0 || !mayAsk)
        return known;
    Ports ports =
        CreateSyncraClient({serverName, modelPort, userName, password, withoutVersionCheck})
            ->GetServicePortList();
    const std::uint16_t port = PortOf(ports, service);
    const OV::LockGuard guard(lock_);
    ports_[key] = std::move(ports);
    return port;
}

void ServicePortCache::Forget(OV::UniStringView serverName, std::uint16_t modelPort)
{
    const OV::LockGuard guard(lock_);
    ports_.erase(Detail::ServerKey(serverName, modelPort));
}

}  // namespace SYCB
