#pragma once

#include "Http.hpp"
#include "LogWriter.hpp"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace Nexar {

/// Who did what from where, a line of JSON each: every request that changes something, every
/// sign-in and every refusal of a right. It holds names, paths and codes; never a body, a password
/// or a token. Of refusals, which cost a stranger nothing, a minute holds so many lines and then a
/// count, lest a flood of them drives everything else out of the files. A file that has grown large
/// becomes FILE.1, and so on to FILE.5, then it goes.
class AuditLog {
public:
    /// An empty name keeps none. `largest` is in bytes.
    AuditLog(const std::string& file, std::uint64_t largest);

    ~AuditLog();
    AuditLog(const AuditLog&) = delete;
    AuditLog& operator=(const AuditLog&) = delete;

    /// Whether anything is kept: who prepares what Add takes may spare it.
    [[nodiscard]] bool IsOn() const noexcept { return writer_ != nullptr; }
    void Add(const HttpRequest& request, const std::string& user, const HttpResponse& response);

private:
    using Clock = std::chrono::steady_clock;
    /// Counts a refusal; whether it is written.
    [[nodiscard]] bool HasRoomForRefusal();
    void WriteOmitted();

    std::unique_ptr<LogWriter> writer_;
    Clock::time_point minute_ = Clock::now();
    std::size_t refusals_ = 0;  ///< of this minute
};

}  // namespace Nexar
