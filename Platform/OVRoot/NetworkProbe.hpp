#pragma once

#include "OVRoot/UniString.hpp"

#include <cstdint>
#include <vector>

/// Single steps on the way to a server, for who wants to know which of them fails; one source file
/// a system.
namespace OV::NetworkProbe {

/// The addresses of a host, in the order in which a connection tries them; none when the name is
/// not known, and why in `problem`. Asks name servers, which may take a minute; nothing cancels
/// that.
[[nodiscard]] std::vector<String> LookUp(const String& host, String& problem);

/// Connects to one numeric address and ends the connection. Empty when it was made, otherwise why
/// not; takes at most `milliseconds`, and ends within 100 ms, with InterruptedException, when the
/// calling thread is interrupted.
[[nodiscard]] String Connect(const String& address, std::uint16_t port, std::uint32_t milliseconds);

}  // namespace OV::NetworkProbe
