#pragma once

#include <string>
#include <typeinfo>

namespace OV {

/// The name of a class as its source spells it, for messages to developers; the compiler's own
/// spelling where that cannot be had.
[[nodiscard]] std::string TypeName(const std::type_info& type);

}  // namespace OV
