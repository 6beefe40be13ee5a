#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"
#include "SYClientBase/CachedProjectInfoInterface.hpp"
#include "SYClientBase/PKSignalClient.hpp"

#include <memory>

namespace SYCB {

/// The host's view of its opened project; the host implements it, or takes
/// SYC::ClientProjectConnectionManager.
class SYC_API ProjectConnectionManagerInterface {
public:
    virtual ~ProjectConnectionManagerInterface() = default;

    /// The project URL of the opened project, with its coded password.
    [[nodiscard]] virtual IO::Location GetProjectLocation() const = 0;
    /// The cache of the opened project; null when there is none yet.
    [[nodiscard]] virtual std::shared_ptr<CachedProjectInfo> GetCachedProjectInfo() = 0;
    /// The signal client of the opened project; it lives as long as this object.
    [[nodiscard]] virtual PKSignalClient& GetSignalClient() = 0;
    /// The server session of the opened project; empty before one is known.
    [[nodiscard]] virtual OV::UniString GetSessionId() const = 0;
    /// Tells the host what its user must hear about; must not throw.
    virtual void PostEvent(std::int32_t eventCode, const OV::UniString& text) = 0;
};

}  // namespace SYCB
