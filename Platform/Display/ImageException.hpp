#pragma once

#include "OVRoot/Exception.hpp"

namespace NewDisplay {

/// A picture cannot be decoded, encoded or drawn; the message says which and why.
class ImageException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(ImageException)
};

}  // namespace NewDisplay
