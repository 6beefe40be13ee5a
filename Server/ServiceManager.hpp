#pragma once

#include <string>

namespace Nexar {

/// Tells who started the server, when he asked for it by NOTIFY_SOCKET as systemd does, how it is:
/// "READY=1", "STOPPING=1". Never throws; without somebody to tell it does nothing.
void TellServiceManager(const std::string& state) noexcept;

}  // namespace Nexar
