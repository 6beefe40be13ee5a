#pragma once

#include "SyncraProtocol/ErrorCode.hpp"

#include <stdexcept>
#include <string>

namespace Nexar {

/// A request that is answered with an error code; the message says what, where and what to do.
class Refusal : public std::runtime_error {
public:
    Refusal(Syncra::Protocol::ErrorCode code, const std::string& message)
        : std::runtime_error(message), code_(code)
    {}
    [[nodiscard]] Syncra::Protocol::ErrorCode Code() const noexcept { return code_; }
    /// The HTTP status that goes with the code.
    [[nodiscard]] int Status() const noexcept;

private:
    Syncra::Protocol::ErrorCode code_;
};

}  // namespace Nexar
