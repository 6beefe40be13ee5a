#pragma once

#include "Support/ChildProcess.hpp"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <thread>

/// How often what happens at a random instant is tried: SYCLIENT_ROUNDS in the environment says so,
/// or else SYCLIENT_LONG=1 chooses `longForm`.
inline int Rounds(int shortForm, int longForm)
{
    if (const char* rounds = std::getenv("SYCLIENT_ROUNDS"))
        return std::atoi(rounds);
    const char* isLong = std::getenv("SYCLIENT_LONG");
    return isLong != nullptr && *isLong == '1' ? longForm : shortForm;
}

/// Runs `body` in a child process, again and again, kills it at a random instant within `longest`,
/// calls `check` after each kill and tells how many of the checks failed. `body` should loop for
/// ever over the work that must not be torn.
inline void KillAtRandomInstants(const std::function<void()>& body,
                                 std::chrono::microseconds longest,
                                 const std::function<void()>& check)
{
    const auto failures = [] {
        return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
    };
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<long> instant(0, static_cast<long>(longest.count()));
    const int kills = Rounds(30, 200);
    int torn = 0;
    for (int kill = 0; kill < kills; ++kill) {
        ChildProcess child([&] {
            body();
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(instant(random)));
        child.Kill();
        const int before = failures();
        check();
        torn += failures() != before;
    }
    std::cout << kills << " kills, " << torn << " of them did harm\n";
}
