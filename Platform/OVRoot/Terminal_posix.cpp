#include "OVRoot/Terminal.hpp"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace OV::Terminal {

namespace {

/// What a signal handler needs to give the terminal its echo back before the process dies.
volatile std::sig_atomic_t echoOffOn = -1;
termios formerSettings;

void RestoreAndDie(int signal)
{
    if (echoOffOn >= 0)
        tcsetattr(echoOffOn, TCSANOW, &formerSettings);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

class EchoOff {
public:
    explicit EchoOff(int terminal) : terminal_(terminal)
    {
        if (tcgetattr(terminal_, &formerSettings) != 0)
            return;
        formerInterrupt_ = std::signal(SIGINT, RestoreAndDie);
        formerTermination_ = std::signal(SIGTERM, RestoreAndDie);
        echoOffOn = terminal_;
        termios silent = formerSettings;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        active_ = tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
    }
    ~EchoOff()
    {
        if (echoOffOn < 0)
            return;
        tcsetattr(terminal_, TCSAFLUSH, &formerSettings);
        echoOffOn = -1;
        std::signal(SIGINT, formerInterrupt_);
        std::signal(SIGTERM, formerTermination_);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

    [[nodiscard]] bool IsActive() const noexcept { return active_; }

private:
    using Handler = void (*)(int);
    int terminal_;
    bool active_ = false;
    Handler formerInterrupt_ = SIG_DFL;
    Handler formerTermination_ = SIG_DFL;
};

void WriteAll(int file, StringView text)
{
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written <= 0)
            return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

std::optional<String> ReadLine(int file)
{
    String line;
    char letter = 0;
    while (read(file, &letter, 1) == 1) {
        if (letter == '\n')
            return line;
        line.push_back(letter);
    }
    return line.empty() ? std::nullopt : std::optional(line);
}

}  // namespace

bool IsTerminal(Stream stream) noexcept
{
    constexpr int files[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    return isatty(files[static_cast<int>(stream)]) == 1;
}

std::optional<String> ReadPassword(StringView prompt)
{
    const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal < 0)
        return std::nullopt;
    std::optional<String> password;
    {
        const EchoOff silence(terminal);
        if (silence.IsActive()) {
            WriteAll(terminal, prompt);
            password = ReadLine(terminal);
            WriteAll(terminal, "\n");
        }
    }
    close(terminal);
    return password;
}

}  // namespace OV::Terminal
