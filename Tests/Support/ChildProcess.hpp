#pragma once

#include <cerrno>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

/// A forked child that runs a function and ends with its result, without the exit handlers of the
/// test program. Killed and waited for by the destructor. Fork before starting threads.
class ChildProcess {
public:
    static constexpr int EndedByException = 99;
    static constexpr int EndedBySignal = -1;

    explicit ChildProcess(const std::function<int()>& body) : id_(fork())
    {
        if (id_ < 0)
            throw std::runtime_error("no child process can be made");
        if (id_ == 0)
            _exit(Run(body));
    }
    ~ChildProcess() { Kill(); }
    ChildProcess(ChildProcess&& other) noexcept : id_(std::exchange(other.id_, 0)) {}
    ChildProcess& operator=(ChildProcess&&) = delete;

    [[nodiscard]] pid_t Id() const { return id_; }
    void Signal(int signal) const
    {
        // An id of 0 would mean this very process and its group.
        if (id_ > 0)
            kill(id_, signal);
    }
    /// Its result stays for Wait.
    [[nodiscard]] bool IsRunning() const
    {
        siginfo_t ended{};
        return id_ > 0 &&
               waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               ended.si_pid == 0;
    }
    /// Ends the child at once, wherever it is.
    void Kill()
    {
        if (id_ > 0) {
            kill(id_, SIGKILL);
            Wait();
        }
    }

    /// The child's result, or EndedBySignal.
    int Wait()
    {
        int status = 0;
        while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        id_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : EndedBySignal;
    }

private:
    static int Run(const std::function<int()>& body)
    {
        try {
            return body();
        } catch (...) {
            return EndedByException;
        }
    }

    pid_t id_;
};
