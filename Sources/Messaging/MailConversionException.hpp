#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// A message of the server cannot be read as a mail, or a mail cannot become one.
class SYC_API MailConversionException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(MailConversionException)
};

}  // namespace SYC
