#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

/// Tells the other process by the end of a pipe, and only so: no times, no signals.
class Pipe {
public:
    Pipe()
    {
        if (pipe2(ends_, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe can be made");
    }
    ~Pipe()
    {
        close(ends_[0]);
        close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void Tell() const { EXPECT_EQ(write(ends_[1], "x", 1), 1); }
    void Await() const
    {
        char byte = 0;
        while (read(ends_[0], &byte, 1) < 0 && errno == EINTR) {
        }
    }

private:
    int ends_[2] = {-1, -1};
};
