#include "IO/FileSource.hpp"

#include "IO/Detail/Descriptor_posix.hpp"

namespace IO {

struct FileSource::State {
    State(const Location& file, std::uint64_t mostBytes)
        : location(file), most(mostBytes), opened(Posix::OpenRegular(location)),
          stamp(Posix::StampOf(opened.status))
    {
        if (stamp.size > most)
            Posix::FailTooLong(location, most);
    }

    Location location;
    std::uint64_t most;
    std::uint64_t taken = 0;
    Posix::Opened opened;
    ChangeStamp stamp;
};

FileSource::FileSource(const Location& file, std::uint64_t most)
    : state_(std::make_unique<State>(file, most))
{}
FileSource::~FileSource() = default;

const ChangeStamp& FileSource::GetStamp() const noexcept
{
    return state_->stamp;
}

std::size_t FileSource::Read(char* to, std::size_t size)
{
    const std::size_t count = Posix::Fill(state_->opened.file, state_->location, to, size);
    state_->taken += count;
    if (state_->taken > state_->most)
        Posix::FailTooLong(state_->location, state_->most);
    return count;
}

}  // namespace IO
