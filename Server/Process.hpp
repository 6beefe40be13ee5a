#pragma once

#include <string>

namespace Nexar {

/// A write beyond the size that a file of the process may have fails instead of ending the process.
void FailTooLargeFiles() noexcept;
/// Keeps freed memory for the next request. Giving a large answer back to the system waits for
/// whoever else takes memory from it, and a password hash takes 64 MiB each time.
void KeepFreedMemory() noexcept;
/// Of a thread that computes for long: the other threads of the process come first from now on.
void LetOtherThreadsGoFirst() noexcept;
/// Tells who started the server, when he asked for it by NOTIFY_SOCKET as systemd does, how it is:
/// "READY=1", "STOPPING=1". Never throws; without somebody to tell it does nothing.
void TellServiceManager(const std::string& state) noexcept;

}  // namespace Nexar
