#pragma once

#include <vector>

namespace OV {

template <class T>
using Array = std::vector<T>;

}  // namespace OV
