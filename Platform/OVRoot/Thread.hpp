#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

#include <functional>
#include <memory>
#include <stop_token>

namespace OV {

/// A named thread with an interruption flag. The destructor interrupts and joins.
class SYC_API Thread {
public:
    /// Starts at once; throws Exception when the system gives no thread. An exception that leaves
    /// `body`, of whatever type, is logged and ends the thread.
    Thread(StringView name, std::function<void()> body);
    ~Thread();
    /// The one that is moved from is no thread any more; one that is assigned to is ended first.
    /// @{
    Thread(Thread&&) noexcept;
    Thread& operator=(Thread&&) noexcept;
    /// @}

    /// Sets the flag and wakes a sleep or an interruptible wait of that thread. Safe on any thread.
    void Interrupt();
    /// Waits until the thread has ended; an interruption of the calling thread does not end the
    /// wait.
    void Join();

    /// Whether the calling thread, or the executor task it runs, was asked to stop.
    [[nodiscard]] static bool IsInterrupted() noexcept;
    /// Throws InterruptedException when it was. Costs a look at a flag.
    static void ThrowIfInterrupted()
    {
        if (IsInterrupted())
            throw InterruptedException();
    }
    /// The flag of the calling thread as a token; one that never stops outside our threads.
    [[nodiscard]] static std::stop_token CurrentToken() noexcept;
    /// Waits; throws InterruptedException as soon as the calling thread is asked to stop.
    static void Sleep(std::uint32_t milliseconds);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Makes `token` the interruption flag of the calling thread while it lives; executors use it.
class SYC_API InterruptionScope {
public:
    /// The former flag counts again when the scope ends.
    explicit InterruptionScope(std::stop_token token);
    ~InterruptionScope();
    InterruptionScope(const InterruptionScope&) = delete;
    InterruptionScope& operator=(const InterruptionScope&) = delete;

private:
    std::stop_token token_;
    const std::stop_token* former_;
};

}  // namespace OV
