#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Nexar {

/// What a balancer that passes connections on unread sends before all that its client does: the
/// header of the PROXY protocol, version 1 or 2, which names the client.

/// How many bytes may be read next without touching what the client sends; 0 when the header is
/// whole, none when what has begun is no such header.
[[nodiscard]] std::optional<std::size_t> MissingOfProxyHeader(std::string_view begun);

/// The numeric address of the client that a whole header names; empty when the balancer speaks for
/// itself, as its health checks do. None when it is damaged.
[[nodiscard]] std::optional<std::string> ClientOfProxyHeader(std::string_view header);

}  // namespace Nexar
