#pragma once

#include "OVRoot/Array.hpp"

#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace OV {

/// An array that is filled once and then read.
template <class T>
using StableArray = std::vector<T>;

template <class Key, class Value>
using HashTable = std::unordered_map<Key, Value>;

template <class T>
using HashSet = std::unordered_set<T>;

template <class First, class Second>
using Pair = std::pair<First, Second>;

}  // namespace OV
