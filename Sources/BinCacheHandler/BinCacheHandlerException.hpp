#pragma once

#include "OVRoot/Exception.hpp"

namespace SYC {

/// The cache of a server's log could not be read or written.
class BinCacheHandlerException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(BinCacheHandlerException)
};

}  // namespace SYC
