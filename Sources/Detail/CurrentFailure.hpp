#pragma once

#include "OVRoot/UniString.hpp"

namespace SYC::Detail {

/// What the exception that is being handled says with its causes, of whichever type it is.
[[nodiscard]] OV::UniString DescribeCurrentFailure();

}  // namespace SYC::Detail
