#pragma once

#include <csignal>

/// Ctrl-C and SIGTERM are noted instead of ending the process while it lives. What was noted holds
/// until the process ends, which it then does by that signal (see Main.cpp).
class InterruptNote {
public:
    InterruptNote()
        : formerInterrupt_(std::signal(SIGINT, &Note)),
          formerTermination_(std::signal(SIGTERM, &Note))
    {}
    ~InterruptNote()
    {
        std::signal(SIGINT, formerInterrupt_);
        std::signal(SIGTERM, formerTermination_);
    }
    InterruptNote(const InterruptNote&) = delete;
    InterruptNote& operator=(const InterruptNote&) = delete;

    [[nodiscard]] static bool WasInterrupted() { return signal_ != 0; }
    /// 0 for none.
    [[nodiscard]] static int Signal() { return signal_; }

private:
    static void Note(int signal) { signal_ = signal; }

    static inline volatile std::sig_atomic_t signal_ = 0;
    void (*formerInterrupt_)(int);
    void (*formerTermination_)(int);
};
