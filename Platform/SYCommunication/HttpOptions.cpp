#include "SYCommunication/HttpOptions.hpp"

#include <mutex>
#include <utility>

namespace Communication {

namespace {

std::mutex defaultsLock;

HttpOptions& Defaults()
{
    static auto& defaults = *new HttpOptions;
    return defaults;
}

}  // namespace

HttpOptions DefaultHttpOptions()
{
    const std::lock_guard guard(defaultsLock);
    return Defaults();
}

void SetDefaultHttpOptions(HttpOptions options)
{
    const std::lock_guard guard(defaultsLock);
    Defaults() = std::move(options);
}

}  // namespace Communication
