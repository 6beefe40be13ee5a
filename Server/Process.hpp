#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Nexar {

/// A write beyond the size that a file of the process may have fails instead of ending the process.
void FailTooLargeFiles() noexcept;
/// Keeps freed memory for the next request: taking it from the system anew costs a third of the
/// rate of large answers.
void KeepFreedMemory() noexcept;

/// Another process of this program that answers requests, so that its work keeps no thread of this
/// one waiting for memory or for its turn. Used by one thread at a time.
class HelperProcess {
public:
    /// Runs this program with that one argument, for which it calls AnswerRequests. Throws
    /// std::system_error when the system gives no process.
    explicit HelperProcess(const char* argument);
    /// Ends it at once.
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    /// The answer to a request of some KiB; nothing when the process has gone or stands still.
    [[nodiscard]] std::optional<std::string> Ask(std::string_view request);

private:
    int channel_ = -1;
    int id_ = -1;
};
/// Answers the requests of the process that started this one, until that has gone. Of a low
/// priority: other processes come first. Returns when `answer` throws; that request stays
/// unanswered.
void AnswerRequests(const std::function<std::string(std::string_view)>& answer) noexcept;

/// Lets one thread sleep until something comes in or another thread wakes it.
class Wakeup {
public:
    /// Throws std::system_error.
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    void Wake() noexcept;
    /// Returns when the descriptor has input, after a Wake since the last return, or after a time;
    /// -1 stands for no descriptor.
    void WaitForInput(int descriptor, std::chrono::milliseconds longest) noexcept;

private:
    int event_ = -1;
};

/// Tells who started the server, when he asked for it by NOTIFY_SOCKET as systemd does, how it is:
/// "READY=1", "STOPPING=1". Never throws; without somebody to tell it does nothing.
void TellServiceManager(const std::string& state) noexcept;

}  // namespace Nexar
