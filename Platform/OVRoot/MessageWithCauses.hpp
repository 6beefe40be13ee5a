#pragma once

#include "OVRoot/Exception.hpp"

namespace OV {

/// The message of `exception` and of all that led to it, for who shows it to a person: a fixed text
/// says what failed, its cause which file or server and why. A cause that its successor quotes is
/// not repeated.
[[nodiscard]] UniString MessageWithCauses(const Exception& exception);

}  // namespace OV
