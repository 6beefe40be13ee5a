#include "IO/Detail/Descriptor_posix.hpp"

#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <cstring>
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

}  // namespace Posix
}  // namespace IO
