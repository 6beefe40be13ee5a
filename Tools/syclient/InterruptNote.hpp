#pragma once

#include <csignal>

/// Ctrl-C is noted instead of ending the process while it lives.
class InterruptNote {
public:
    InterruptNote()
    {
        interrupted_ = 0;
        former_ = std::signal(SIGINT, [](int) { interrupted_ = 1; });
    }
    ~InterruptNote() { std::signal(SIGINT, former_); }
    InterruptNote(const InterruptNote&) = delete;
    InterruptNote& operator=(const InterruptNote&) = delete;

    [[nodiscard]] static bool WasInterrupted() { return interrupted_ != 0; }

private:
    static inline volatile std::sig_atomic_t interrupted_ = 0;
    void (*former_)(int);
};
