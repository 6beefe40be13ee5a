#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace NewDisplay {

/// A picture cannot be decoded, encoded or drawn; the message says which and why.
class SYC_API ImageException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(ImageException)
};

}  // namespace NewDisplay
