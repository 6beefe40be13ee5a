#pragma once

#include "SyncraProtocol/ProductVersion.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// Which servers a list of servers may offer. Lists take a pointer to one; null lets all of them
/// through.
class ServerFilter {
public:
    ServerFilter() = default;
    /// `version` is major * 100 + minor; `second` is the list's own.
    ServerFilter(std::uint32_t version, std::uint32_t second) : version_(version), second_(second)
    {}

    /// Major * 100 + minor.
    [[nodiscard]] std::uint32_t GetVersion() const noexcept { return version_; }
    /// The list's own.
    [[nodiscard]] std::uint32_t GetSecond() const noexcept { return second_; }

    friend bool operator==(const ServerFilter&, const ServerFilter&) = default;

private:
    std::uint32_t version_ = Syncra::Protocol::ProductVersion;
    std::uint32_t second_ = 0;
};

}  // namespace Syncra::Server::ManagementTool::GUI
