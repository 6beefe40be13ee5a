#pragma once

#include <array>
#include <atomic>
#include <cstdint>

/// What a process asks of the system, as far as it can be made to fail.
enum class Access : std::uint8_t {
    Open,
    Stat,
    Read,
    Write,
    Flush,
    Rename,
    Delete,
    MakeFolder,
    Lock,
    Mode,
    ReadLink,
    List,
    Socket,
    Connect,
    Accept,
    Send,
    Receive,
    Allocate,
    None
};
inline constexpr std::array AccessNames = {
    "open",   "stat",        "read",   "write", "flush",     "rename",
    "delete", "make folder", "lock",   "mode",  "read link", "list",
    "socket", "connect",     "accept", "send",  "receive",   "allocate"};
static_assert(AccessNames.size() == static_cast<std::size_t>(Access::None));

/// Stands in a file that a test and the processes it looks at have mapped: which access fails, and
/// how many there were. It may be changed while a process runs; `access` last of all.
struct FaultPlan {
    /// The environment variable that names the file.
    static constexpr const char* Variable = "SYCLIENT_FAULT_PLAN";
    /// In place of an error number: half of the bytes are read or written.
    static constexpr int Short = -1;

    std::atomic<Access> access;
    std::atomic<int> error;
    std::atomic<bool> forGood;  ///< the later ones fail too
    std::atomic<long> number;   ///< the first that fails, from 1
    std::atomic<long> count;    ///< how many of that kind there were
    std::atomic<long> placed;   ///< how many of them failed
    char folder[1024];  ///< only files below it count, and allocations from the first of them on
};
