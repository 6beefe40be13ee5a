#pragma once

#include "OVRoot/ExceptionText.hpp"

#include <chrono>
#include <limits>
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

/// On the server's thread, which may be the one to give the memory back.
constexpr int FewAttempts = 10;

/// Runs `work` again until there is memory for it, 10 ms apart: for what must not be lost. Throws
/// std::bad_alloc after the last attempt.
template <class Work>
void WithMemory(const Work& work, int attempts = std::numeric_limits<int>::max())
{
    constexpr std::chrono::milliseconds pause(10);
    for (int left = attempts;; --left) {
        try {
            return work();
        } catch (const std::bad_alloc&) {
            if (left <= 1)
                throw;
        }
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace Nexar
