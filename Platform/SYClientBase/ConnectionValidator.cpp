#include "SYClientBase/ConnectionValidator.hpp"

#include "SYClientBase/Detail/ServerKey.hpp"

namespace SYCB {

namespace {

template <class Value>
void KeepKnown(Value& value, const Value& known)
{
    if (value == Value())
        value = known;
}

}  // namespace

ConnectionValidator& ConnectionValidator::GetInstance()
{
    static auto& instance = *new ConnectionValidator;
    return instance;
}

void ConnectionValidator::SetWorkingConnectionForServer(const ServerConnectionInfo& info,
                                                        bool works)
{
    const OV::UniString key = Detail::ServerKey(info.host, info.port);
    const OV::LockGuard guard(lock_);
    if (!works) {
        working_.erase(key);
        return;
    }
    ServerConnectionInfo& entry = working_[key];
    ServerConnectionInfo merged = info;
    KeepKnown(merged.validatedHost, entry.validatedHost);
    KeepKnown(merged.title, entry.title);
    KeepKnown(merged.serverVersion, entry.serverVersion);
    KeepKnown(merged.category, entry.category);
    entry = std::move(merged);
}

std::optional<ServerConnectionInfo>
ConnectionValidator::GetWorkingConnectionForServer(OV::UniStringView serverName,
                                                   std::uint16_t port) const
{
    const OV::LockGuard guard(lock_);
    const auto found = working_.find(Detail::ServerKey(serverName, port));
    if (found == working_.end())
        return std::nullopt;
    return found->second;
}

OV::UniString ConnectionValidator::GetWorkingHost(OV::UniStringView serverName,
                                                  std::uint16_t port) const
{
    const auto working = GetWorkingConnectionForServer(serverName, port);
    return working && !working->validatedHost.empty() ? working->validatedHost
                                                      : OV::UniString(serverName);
}

OV::Array<ServerConnectionInfo> ConnectionValidator::GetWorkingConnections() const
{
    OV::Array<ServerConnectionInfo> all;
    const OV::LockGuard guard(lock_);
    for (const auto& [key, info] : working_)
        all.push_back(info);
    return all;
}

}  // namespace SYCB
