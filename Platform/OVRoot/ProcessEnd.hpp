#pragma once

#include <cstdlib>
#include <new>

namespace OV {

/// Calls `end` when the process ends (std::exit or std::quick_exit), those that were registered
/// last first. Returns true, so that a static variable can see to its being registered once.
///
/// Nobody knows the order in which static objects of several files go, and threads may be at work
/// while they do. So no static object of ours is ever destroyed (`static auto& it = *new It;`,
/// which clang is asked to watch), and what owns threads registers here how its work is ended: work
/// that goes on until then finds everything it needs.
inline bool AtProcessEnd(void (*end)())
{
    if (std::atexit(end) != 0 || std::at_quick_exit(end) != 0)
        throw std::bad_alloc();
    return true;
}

}  // namespace OV
