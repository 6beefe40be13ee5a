#include "OVRoot/Terminal.hpp"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <locale.h>
#include <sys/ioctl.h>
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

/// Widths as UTF-8 has them on the calling thread while it lives.
class Utf8Locale {
public:
    Utf8Locale() : former_(uselocale(Utf8())) {}
    ~Utf8Locale() { uselocale(former_); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    static locale_t Utf8()
    {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
        return locale;
    }

    locale_t former_;
};

/// Calls `take` with each character and its columns until it is false.
template <class Take>
void ForEachCharacter(StringView text, Take take)
{
    const Utf8Locale locale;
    for (std::mbstate_t state{}; !text.empty();) {
        wchar_t character = 0;
        auto length = std::mbrtowc(&character, text.data(), text.size(), &state);
        if (length == 0 || length > text.size()) {  // no UTF-8
            state = {};
            length = 1;
        }
        if (!take(text.substr(0, length),
                  static_cast<std::size_t>(std::max(0, wcwidth(character)))))
            return;
        text.remove_prefix(length);
    }
}

}  // namespace

bool IsTerminal(Stream stream) noexcept
{
    constexpr int files[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    return isatty(files[static_cast<int>(stream)]) == 1;
}

std::size_t Columns(Stream stream) noexcept
{
    constexpr int files[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    winsize size{};
    return ioctl(files[static_cast<int>(stream)], TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

std::size_t Width(StringView text)
{
    // Most texts need no tables of the system, and a command that prints none else loads none.
    if (std::all_of(text.begin(), text.end(), [](char byte) { return byte >= ' ' && byte <= '~'; }))
        return text.size();
    std::size_t width = 0;
    ForEachCharacter(text, [&](StringView, std::size_t columns) {
        width += columns;
        return true;
    });
    return width;
}

String CutToWidth(StringView text, std::size_t columns)
{
    String beginning;
    ForEachCharacter(text, [&](StringView character, std::size_t width) {
        if (width > columns)
            return false;
        columns -= width;
        beginning += character;
        return true;
    });
    return beginning;
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
