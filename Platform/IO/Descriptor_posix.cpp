#include "IO/Detail/Descriptor_posix.hpp"

#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <unistd.h>

namespace IO {

std::int32_t ChangeStamp::ModificationTime() const noexcept
{
    return OV::Seconds32(modificationNanoseconds / 1'000'000'000);
}

namespace Posix {

namespace {

ErrorCode CodeOf(int number)
{
    switch (number) {
    case ENOENT:
    case ENOTDIR:
        return ErrorCode::NotFound;
    case EEXIST:
        return ErrorCode::AlreadyExists;
    case EACCES:
    case EPERM:
    case EROFS:
        return ErrorCode::AccessDenied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ErrorCode::NoSpace;
    default:
        return ErrorCode::Other;
    }
}

}  // namespace

Descriptor::~Descriptor()
{
    if (number_ >= 0)
        close(number_);
}

void Fail(OV::UniStringView operation, const Location& place, int number, OV::SourcePlace source)
{
    throw IOException(CodeOf(number), operation, place, std::strerror(number), source);
}

void FailToOpen(OV::UniStringView operation, const Location& place, int number,
                OV::SourcePlace source)
{
    throw IOException(CodeOf(number), operation, place, std::strerror(number), source, Step::Open);
}

ChangeStamp StampOf(const struct stat& status) noexcept
{
    // What lies outside of 1677 to 2262 counts as that end of it.
    constexpr std::int64_t perSecond = 1'000'000'000;
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / perSecond - 1;
    ChangeStamp stamp;
    stamp.modificationNanoseconds =
        std::clamp<std::int64_t>(status.st_mtim.tv_sec, -most, most) * perSecond +
        status.st_mtim.tv_nsec;
    stamp.size = static_cast<std::uint64_t>(status.st_size);
    stamp.identity = static_cast<std::uint64_t>(status.st_ino);
    return stamp;
}

bool StillNames(const OV::String& path, const Descriptor& opened, const Location& place)
{
    struct stat named {};
    struct stat held {};
    if (lstat(path.c_str(), &named) != 0) {
        if (IsNotThere(errno))
            return false;
        Fail(u"Cannot look at", place);
    }
    if (fstat(opened.Number(), &held) != 0)
        Fail(u"Cannot look at", place);
    return IsSameFile(named, held);
}

Opened OpenRegular(const Location& file)
{
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    Opened opened{Descriptor(Retry([&] { return open(file.ToNativePath().c_str(), flags); }))};
    if (!opened.file || fstat(opened.file.Number(), &opened.status) != 0)
        FailToOpen(u"Cannot open", file);
    if (S_ISDIR(opened.status.st_mode))
        FailToOpen(u"Cannot read", file, EISDIR);
    if (!S_ISREG(opened.status.st_mode))
        throw IOException(ErrorCode::Other, u"Cannot read", file,
                          "it is no regular file; move it away", OV::SourcePlace::Here(),
                          Step::Open);
    return opened;
}

std::size_t Fill(const Descriptor& opened, const Location& file, char* to, std::size_t size)
{
    std::size_t filled = 0;
    while (filled < size) {
        const auto count = Retry([&] { return read(opened.Number(), to + filled, size - filled); });
        if (count < 0)
            Fail(u"Cannot read", file);
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

void FailTooLong(const Location& file, std::uint64_t most)
{
    throw IOException(
        ErrorCode::Other, u"Cannot read", file,
        "it is longer than the " + std::to_string(most) +
            " bytes that a file of this kind may have; look at what it is and move it away");
}

}  // namespace Posix
}  // namespace IO
