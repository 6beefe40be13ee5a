#pragma once

#include "OVRoot/Export.hpp"
#include "ProjectConnectionBase.hpp"

namespace SYC {

/// The four slots that a concrete connection fills, against a manager of the host and a client of
/// its own.
class SYC_API OwnClientConnection : public ProjectConnectionBase {
protected:
    /// The primary connection of `manager`, which outlives it.
    OwnClientConnection(Kind kind, SYCB::ProjectConnectionManagerInterface* manager)
        : ProjectConnectionBase(kind), manager_(manager)
    {}
    /// A secondary one; see ProjectConnectionBase.
    OwnClientConnection(Kind kind, SYCB::ProjectConnectionManagerInterface* manager,
                        IO::Location projectLocation, std::shared_ptr<CachedProjectInfo> cache)
        : ProjectConnectionBase(kind, std::move(projectLocation), std::move(cache)),
          manager_(manager)
    {}

    /// The slots; what the connection itself holds.
    /// @{
    [[nodiscard]] Syncra::Client::SyncraClient* _GetSyncraClient() const override
    {
        return client_.get();
    }
    void _SetSyncraClient(std::unique_ptr<Syncra::Client::SyncraClient> client) override
    {
        client_ = std::move(client);
    }
    [[nodiscard]] SYCB::ProjectConnectionManagerInterface*
    _GetProjectConnectionManager() const override
    {
        return manager_;
    }
    [[nodiscard]] OV::UniString _GetSessionId() const override { return SessionId(); }
    /// @}

private:
    SYCB::ProjectConnectionManagerInterface* manager_;
    std::unique_ptr<Syncra::Client::SyncraClient> client_;
};

}  // namespace SYC
