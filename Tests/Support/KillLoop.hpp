#pragma once

#include "Support/ChildProcess.hpp"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>

/// Runs `body` in a child process, again and again, kills it at a random instant within `longest`
/// and calls `check` after each kill. 30 kills, or 200 with SYCLIENT_LONG=1 in the environment.
/// `body` should loop for ever over the work that must not be torn.
inline void KillAtRandomInstants(const std::function<void()>& body,
                                 std::chrono::microseconds longest,
                                 const std::function<void()>& check)
{
    const char* isLong = std::getenv("SYCLIENT_LONG");
    const int kills = isLong != nullptr && *isLong == '1' ? 200 : 30;
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<long> instant(0, static_cast<long>(longest.count()));
    for (int kill = 0; kill < kills; ++kill) {
        ChildProcess child([&] {
            body();
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(instant(random)));
        child.Kill();
        check();
    }
}
