#pragma once

#include "OVRoot/Array.hpp"

#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace OV {

/// An array that is filled once and then read.
template <class T>
using StableArray = std::vector<T>;

/// The hash table of the interfaces.
template <class Key, class Value>
using HashTable = std::unordered_map<Key, Value>;

/// The hash set of the interfaces.
template <class T>
using HashSet = std::unordered_set<T>;

/// The pair of the interfaces.
template <class First, class Second>
using Pair = std::pair<First, Second>;

}  // namespace OV
