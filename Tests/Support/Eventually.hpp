#pragma once

#include <chrono>
#include <thread>

/// Waits for what another thread or process brings about, without a time that decides the result.
template <class Predicate>
[[nodiscard]] bool Eventually(Predicate&& holds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
