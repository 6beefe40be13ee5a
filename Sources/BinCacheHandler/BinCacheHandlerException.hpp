#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// The cache of a server's log could not be read or written. Its source name is "BinCacheHandler",
/// whichever file of the handler throws it.
class SYC_API BinCacheHandlerException : public OV::Exception {
public:
    /// `message` is UTF-8; `cause` is what led to it, or null.
    explicit BinCacheHandlerException(OV::StringView message,
                                      std::shared_ptr<const OV::Exception> cause = nullptr,
                                      int line = __builtin_LINE())
        : Exception(message, {"BinCacheHandler", line}, std::move(cause))
    {}
    OV_EXCEPTION_IDENTITY(BinCacheHandlerException)
};

}  // namespace SYC
