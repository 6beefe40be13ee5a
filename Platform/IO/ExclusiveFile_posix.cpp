#include "IO/ExclusiveFile.hpp"

#include "IO/Detail/Descriptor_posix.hpp"
#include "OVRoot/Lock.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <unistd.h>
#include <unordered_set>
#include <utility>

namespace IO {

using Posix::Descriptor;

namespace {

/// Every descriptor that carries a hold. A forked child shares the holds of its parent until it
/// closes its copies, and would keep them beyond the parent's death; so it closes them first of
/// all. Opening and closing happen under the lock, for a fork in between would leave a copy that
/// nobody knows.
class HeldDescriptors {
public:
    static HeldDescriptors& Get()
    {
        // Never destroyed: files that static objects hold are released at the very end.
        static auto& all = *new HeldDescriptors;
        return all;
    }

    void Open(Descriptor& file, const OV::String& path)
    {
        constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW;
        // Who may open it, if only to read, may hold it: nobody but its user.
        constexpr mode_t mode = 0600;
        const OV::LockGuard guard(lock_);
        files_.insert(&file);
        file = Descriptor(Posix::Retry([&] { return open(path.c_str(), flags, mode); }));
    }
    void Close(Descriptor& file) noexcept
    {
        const OV::LockGuard guard(lock_);
        files_.erase(&file);
        file = Descriptor();
    }

private:
    HeldDescriptors() { pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild); }

    static void BeforeFork() OV_NO_ANALYSIS { Get().lock_.Acquire(); }
    static void AfterForkInParent() OV_NO_ANALYSIS { Get().lock_.Release(); }
    static void AfterForkInChild() OV_NO_ANALYSIS
    {
        for (Descriptor* file : Get().files_)
            *file = Descriptor();
        Get().lock_.Release();
    }

    OV::Lock lock_;
    std::unordered_set<Descriptor*> files_ OV_GUARDED_BY(lock_);
};

}  // namespace

/// `flock`, not `fcntl`: the latter's hold is lost when any second descriptor of the file is
/// closed.
struct ExclusiveFile::State {
    explicit State(const Location& place) : location(place), path(place.ToNativePath()) {}
    ~State() { Close(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    /// False when another one has the lock.
    [[nodiscard]] bool OpenAndLock()
    {
        HeldDescriptors::Get().Open(file, path);
        if (!file)
            Posix::Fail(u"Cannot open for exclusive use", location);
        if (flock(file.Number(), LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EWOULDBLOCK)
            Posix::Fail(u"Cannot lock", location);
        return false;
    }

    [[nodiscard]] bool StillInPlace() const
    {
        return file && Posix::StillNames(path, file, location);
    }

    void Close() noexcept
    {
        OV::Detail::NoteFileReleased(this);
        HeldDescriptors::Get().Close(file);
    }

    Location location;
    OV::String path;
    Descriptor file;
};

std::optional<ExclusiveFile> ExclusiveFile::TryOpen(const Location& file)
{
    auto held = TryMark(file);
    if (held)
        OV::Detail::NoteFileHeld(held->state_.get(), held->state_->path.c_str());
    return held;
}

std::optional<ExclusiveFile> ExclusiveFile::TryMark(const Location& file)
{
    auto state = std::make_unique<State>(file);
    for (int round = 0; round < Posix::MostRounds; ++round) {
        if (!state->OpenAndLock())
            return std::nullopt;
        // Its former holder may have deleted it between our open and our lock; then this hold is on
        // a file that nobody else will find.
        if (state->StillInPlace())
            return ExclusiveFile(std::move(state));
    }
    return std::nullopt;
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
    if (state_->StillInPlace() && unlink(state_->path.c_str()) != 0 && errno != ENOENT)
        Posix::Fail(u"Cannot delete", state_->location);
    state_->Close();
}

}  // namespace IO
