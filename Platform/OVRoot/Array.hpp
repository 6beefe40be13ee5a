#pragma once

#include <vector>

namespace OV {

/// The array of the interfaces.
template <class T>
using Array = std::vector<T>;

}  // namespace OV
