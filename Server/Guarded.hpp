#pragma once

#include "OVRoot/ExceptionText.hpp"

#include <chrono>
#include <new>
#include <thread>

namespace Nexar {

/// Runs work that has nobody to be told of its failure: it is logged, and the server goes on.
template <class Work>
void RunGuarded(const Work& work) noexcept
{
    try {
        work();
    } catch (...) {
        OV::LogCurrentException("nexar-server", u"% failed: %", u"Work of the server");
    }
}

/// Runs `work` again until there is memory for it: for what must not be lost. Others need the
/// thread that it waits on for no longer than the memory is missing.
template <class Work>
void WithMemory(const Work& work)
{
    constexpr std::chrono::milliseconds pause(10);
    for (;;) {
        try {
            return work();
        } catch (const std::bad_alloc&) {
            std::this_thread::sleep_for(pause);
        }
    }
}

}  // namespace Nexar
