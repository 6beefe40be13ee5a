#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstddef>
#include <ctime>
#include <optional>
#include <span>
#include <vector>

/// What the operating system is asked for beside files; one source file a system.
namespace OV::System {

/// The name of this computer, at most 512 code units; empty when the system has none.
[[nodiscard]] SYC_API UniString ComputerName();
/// Whether the text is an address itself (IPv4 in any form that the system takes, IPv6), not a name
/// that would have to be looked up. Asks no network.
[[nodiscard]] SYC_API bool IsNumericHostAddress(StringView host);
/// Whether the text is an address of this computer alone (127.0.0.0/8, ::1), in any form that the
/// system takes; a name is none. Asks no network.
[[nodiscard]] SYC_API bool IsLoopbackAddress(StringView host);
/// Value of an environment variable in UTF-8; empty when it is not set.
[[nodiscard]] SYC_API String EnvironmentVariable(StringView name);
/// The user's home folder as the system names it.
[[nodiscard]] SYC_API String HomeFolder();
/// Bytes of memory that this process has in use; 0 when the system does not tell.
[[nodiscard]] SYC_API std::uint64_t ProcessMemory();
/// Fills a few bytes, at most 256, that nobody can foretell. Throws std::runtime_error when the
/// system has none.
void FillRandom(std::span<std::byte> bytes);
/// Name, version and processor of the operating system.
[[nodiscard]] String Description();
/// The folder of the running program in UTF-8; empty when the system does not tell.
[[nodiscard]] SYC_API String ProgramFolder();
/// Runs a program to its end, with this one's streams, and returns its exit code; nothing when it
/// cannot be started.
[[nodiscard]] SYC_API std::optional<int> RunProgram(const String& file,
                                                    std::vector<String> arguments);
/// The moment in the time zone of the user; safe on any thread.
[[nodiscard]] SYC_API std::tm ToLocalTime(std::time_t time);
/// A write into a pipe or connection whose reader has gone fails instead of ending the process.
SYC_API void IgnoreBrokenPipes();
/// Lets the process open as many files and connections as its user may; returns their number.
SYC_API std::size_t RaiseDescriptorLimit();
/// Keeps the memory of the process, with the passwords in it, out of files that a crash would
/// leave.
SYC_API void ForbidCoreDumps();
/// Names the calling thread for debuggers; longer names are cut.
SYC_API void NameCurrentThread(StringView name);

}  // namespace OV::System
