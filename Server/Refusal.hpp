#pragma once

#include "SyncraProtocol/ErrorCode.hpp"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Nexar {

/// A request that is answered with an error code; the message says what, where and what to do.
class Refusal : public std::runtime_error {
public:
    Refusal(Syncra::Protocol::ErrorCode code, const std::string& message)
        : Refusal(code, message, StatusOf(code))
    {}
    /// With another HTTP status than the usual one of the code.
    Refusal(Syncra::Protocol::ErrorCode code, const std::string& message, int status)
        : std::runtime_error(message), code_(code), status_(status)
    {}
    [[nodiscard]] Syncra::Protocol::ErrorCode Code() const noexcept { return code_; }
    [[nodiscard]] int Status() const noexcept { return status_; }

    /// A header that the answer has beside the usual ones; returns this refusal.
    Refusal& With(const std::string& header, const std::string& value)
    {
        headers_.emplace_back(header, value);
        return *this;
    }
    [[nodiscard]] const auto& Headers() const noexcept { return headers_; }

private:
    /// The HTTP status that usually goes with a code.
    [[nodiscard]] static int StatusOf(Syncra::Protocol::ErrorCode code) noexcept;

    Syncra::Protocol::ErrorCode code_;
    int status_;
    std::vector<std::pair<std::string, std::string>> headers_;
};

}  // namespace Nexar
