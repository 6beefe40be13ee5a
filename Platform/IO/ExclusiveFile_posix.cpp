#include "IO/ExclusiveFile.hpp"

#include "IO/Detail/Descriptor_posix.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace IO {

using Posix::Descriptor;

/// `flock`, not `fcntl`: the latter's hold is lost when any second descriptor of the file is
/// closed.
struct ExclusiveFile::State {
    Location location;
    Descriptor file;

    [[nodiscard]] bool StillInPlace() const
    {
        struct stat named {};
        struct stat opened {};
        return lstat(location.ToNativePath().c_str(), &named) == 0 &&
               fstat(file.Number(), &opened) == 0 && Posix::IsSameFile(named, opened);
    }
};

std::optional<ExclusiveFile> ExclusiveFile::TryOpen(const Location& file)
{
    const OV::String path = file.ToNativePath();
    for (;;) {
        auto state = std::make_unique<State>();
        state->location = file;
        state->file = Descriptor(Posix::Retry(
            [&] { return open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666); }));
        if (!state->file)
            Posix::Fail(u"Cannot open for exclusive use", file);
        if (flock(state->file.Number(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK)
                return std::nullopt;
            Posix::Fail(u"Cannot lock", file);
        }
        // Its former holder may have deleted it between our open and our lock; then this hold is on
        // a file that nobody else will find.
        if (state->StillInPlace())
            return ExclusiveFile(std::move(state));
    }
}

ExclusiveFile::ExclusiveFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
ExclusiveFile::~ExclusiveFile() = default;
ExclusiveFile::ExclusiveFile(ExclusiveFile&&) noexcept = default;
ExclusiveFile& ExclusiveFile::operator=(ExclusiveFile&&) noexcept = default;

const Location& ExclusiveFile::GetLocation() const noexcept
{
    return state_->location;
}

bool ExclusiveFile::StillInPlace() const
{
    return state_->StillInPlace();
}

void ExclusiveFile::DeleteAndClose()
{
    if (state_->StillInPlace() && unlink(state_->location.ToNativePath().c_str()) != 0 &&
        errno != ENOENT)
        Posix::Fail(u"Cannot delete", state_->location);
    state_->file = Descriptor();
}

}  // namespace IO
