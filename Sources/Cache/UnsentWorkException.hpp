#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// A cache is not removed, for it holds what was not sent. The message names its folder.
class SYC_API UnsentWorkException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(UnsentWorkException)
};

}  // namespace SYC
