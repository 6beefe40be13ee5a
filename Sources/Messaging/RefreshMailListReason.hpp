#pragma once

#include <cstdint>

namespace SYC::RefreshMailListReason {

/// Why the mails were fetched.
enum Value : std::int32_t {
    ServerSignal = 0,
    ClientStarted = 1,
};

}  // namespace SYC::RefreshMailListReason
