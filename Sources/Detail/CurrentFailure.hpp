#pragma once

#include "OVRoot/UniString.hpp"

namespace SYC::Detail {

/// What the exception that is being handled says, of whichever type it is.
[[nodiscard]] OV::UniString DescribeCurrentFailure();

}  // namespace SYC::Detail
