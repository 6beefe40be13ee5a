#pragma once

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// A program run on a terminal of its own, with a person who answers its prompts.
class TerminalRun {
public:
    int code = -1;       ///< as shells tell it: 128 and the signal that ended it
    std::string output;  ///< all that the terminal showed
    std::size_t answered = 0;

    /// Each time `prompt` is shown, types the next of `answers` and Return; end of input when there
    /// is none left.
    TerminalRun(std::vector<std::string> arguments, const std::string& prompt,
                const std::vector<std::string>& answers)
    {
        std::vector<char*> pointers;
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        int terminal = -1;
        const pid_t id = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (id == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execv(pointers[0], pointers.data());
            _exit(127);
        }
        std::size_t read = 0;
        while (ReadSome(terminal)) {
            const auto at = output.find(prompt, read);
            if (at == std::string::npos)
                continue;
            read = at + prompt.size();
            const std::string line =
                answered < answers.size() ? answers[answered++] + "\n" : std::string("\x04");
            if (write(terminal, line.data(), line.size()) < 0)
                break;
        }
        kill(id, SIGKILL);  // what has ended already does not mind
        int status = 0;
        while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
        }
        close(terminal);
        code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    static constexpr int PatienceMilliseconds = 60'000;

    /// False when the program has closed the terminal, or shows nothing for too long.
    bool ReadSome(int terminal)
    {
        pollfd waiting{terminal, POLLIN, 0};
        char bytes[512];
        if (poll(&waiting, 1, PatienceMilliseconds) <= 0)
            return false;
        const ssize_t count = ::read(terminal, bytes, sizeof bytes);
        if (count > 0)
            output.append(bytes, static_cast<std::size_t>(count));
        return count > 0;
    }
};
