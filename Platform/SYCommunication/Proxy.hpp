#pragma once

#include "SYCommunication/HttpOptions.hpp"
#include "SYCommunication/ServerAddress.hpp"

#include <optional>

namespace Communication {

/// The proxy that the requests of an HttpClient to that address go through, as the options or the
/// environment name it, for who tells about the way; nothing when they go straight. Networks by
/// their prefix among the hosts to reach without it are not understood. `secure` means nothing in
/// the answer.
[[nodiscard]] std::optional<ServerAddress> FindProxy(const ServerAddress& address,
                                                     const HttpOptions& options);

}  // namespace Communication
