#pragma once

#include "Http.hpp"
#include "LogWriter.hpp"

#include <cstdint>
#include <string>

namespace Nexar {

/// Who did what from where, a line of JSON each: every request that changes something, every
/// sign-in and every refusal of a right. It holds names, paths and codes; never a body, a password
/// or a token. A file that has grown large becomes FILE.1, and so on to FILE.5, then it goes.
class AuditLog {
public:
    /// An empty name keeps none. `largest` is in bytes.
    AuditLog(const std::string& file, std::uint64_t largest);

    void Add(const HttpRequest& request, const std::string& user, const HttpResponse& response);

private:
    std::unique_ptr<LogWriter> writer_;
};

}  // namespace Nexar
