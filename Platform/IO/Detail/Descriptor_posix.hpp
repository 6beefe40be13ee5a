#pragma once

#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "IO/Location.hpp"

#include <cerrno>
#include <optional>
#include <sys/stat.h>
#include <utility>

/// What the POSIX sources of this folder share.
namespace IO::Posix {

/// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int number = -1) noexcept : number_(number) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    [[nodiscard]] int Number() const noexcept { return number_; }
    [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }

private:
    int number_;
};

/// Throws the IOException of the system's error `number`.
[[noreturn]] void Fail(OV::UniStringView operation, const Location& place, int number = errno,
                       OV::SourcePlace source = OV::SourcePlace::Here());

/// The same for a file that could not be opened.
[[noreturn]] void FailToOpen(OV::UniStringView operation, const Location& place, int number = errno,
                             OV::SourcePlace source = OV::SourcePlace::Here());

/// `call` again while a signal interrupts it.
template <class Call>
auto Retry(Call&& call)
{
    for (;;) {
        const auto result = call();
        if (result >= 0 || errno != EINTR)
            return result;
    }
}

[[nodiscard]] ChangeStamp StampOf(const struct stat& status) noexcept;
[[nodiscard]] inline bool IsSameFile(const struct stat& left, const struct stat& right) noexcept
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}
/// Whether a system call found that there is nothing of that name; any other failure says neither
/// yes nor no.
[[nodiscard]] inline bool IsNotThere(int number) noexcept
{
    return number == ENOENT || number == ENOTDIR;
}
/// Whether `path` itself, not what a link there stands for, still names the file behind `opened`.
/// Throws IOException with `place` when that cannot be told: whoever took that for "no" would try
/// for ever.
[[nodiscard]] bool StillNames(const OV::String& path, const Descriptor& opened,
                              const Location& place);

struct Opened {
    Descriptor file;
    struct stat status {};
};
/// A regular file for reading, without waiting for the other end of a pipe, which is refused like
/// all that is no regular file.
[[nodiscard]] Opened OpenRegular(const Location& file);
/// Reads until `size` bytes are there or the file ends; returns how many.
[[nodiscard]] std::size_t Fill(const Descriptor& opened, const Location& file, char* to,
                               std::size_t size);
[[noreturn]] void FailTooLong(const Location& file, std::uint64_t most);

/// Each lost round of opening and finding the file replaced means that another process won it; so
/// many in a row count as a file that others hold.
inline constexpr int MostRounds = 1000;

}  // namespace IO::Posix
