#include "OVRoot/HeldLocks.hpp"

#include "OVRoot/Detail/TypeName.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace OV {

#ifdef NDEBUG

void AssertNoLockHeld(const char*) noexcept {}
void AssertNoLockHeld(const std::type_info&) noexcept {}

namespace Detail {
void NoteLockTaken(const void*, const char*, int) noexcept {}
void NoteLockReleased(const void*) noexcept {}
void NoteFileHeld(const void*, const char*) noexcept {}
void NoteFileReleased(const void*) noexcept {}
}  // namespace Detail

#else

namespace {

struct HeldLock {
    const void* lock;
    const char* file;
    int line;
};

/// Without a destructor, so that locks can be taken while the thread ends. A thread that holds more
/// than fit is not checked for the rest.
struct HeldByThread {
    std::array<HeldLock, 32> locks;
    std::size_t count;
};
thread_local HeldByThread held;

struct HeldFile {
    const void* hold;
    std::thread::id thread;
    std::string path;
};

/// Never destroyed: static objects may release their files at the very end.
struct HeldFiles {
    std::mutex lock;
    std::vector<HeldFile> files;
};

HeldFiles& Files()
{
    static auto& files = *new HeldFiles;
    return files;
}

[[noreturn]] void EndProcess(const char* told, const char* kind, const char* name, int line)
{
    std::fprintf(stderr, "\"%s\" is called while this thread holds the %s %s", told, kind, name);
    if (line > 0)
        std::fprintf(stderr, ":%d", line);
    std::fputs(". It could ask back and wait for itself; release it first.\n", stderr);
    std::abort();
}

}  // namespace

void AssertNoLockHeld(const char* told) noexcept
{
    if (held.count > 0)
        EndProcess(told, "lock made at", held.locks[held.count - 1].file,
                   held.locks[held.count - 1].line);
    HeldFiles& all = Files();
    const std::lock_guard guard(all.lock);
    for (const HeldFile& file : all.files)
        if (file.thread == std::this_thread::get_id())
            EndProcess(told, "lock file", file.path.c_str(), 0);
}

void AssertNoLockHeld(const std::type_info& told) noexcept
{
    AssertNoLockHeld(TypeName(told).c_str());
}

namespace Detail {

void NoteLockTaken(const void* lock, const char* file, int line) noexcept
{
    if (held.count < held.locks.size())
        held.locks[held.count++] = {lock, file, line};
}

void NoteLockReleased(const void* lock) noexcept
{
    const auto end = held.locks.begin() + static_cast<std::ptrdiff_t>(held.count);
    const auto found = std::find_if(held.locks.begin(), end,
                                    [&](const HeldLock& each) { return each.lock == lock; });
    if (found == end)
        return;
    std::move(found + 1, end, found);
    --held.count;
}

void NoteFileHeld(const void* hold, const char* path) noexcept
{
    try {
        HeldFiles& all = Files();
        const std::lock_guard guard(all.lock);
        all.files.push_back({hold, std::this_thread::get_id(), path});
    } catch (const std::bad_alloc&) {
        // Not recorded, so not checked.
    }
}

void NoteFileReleased(const void* hold) noexcept
{
    HeldFiles& all = Files();
    const std::lock_guard guard(all.lock);
    std::erase_if(all.files, [&](const HeldFile& each) { return each.hold == hold; });
}

}  // namespace Detail

#endif

}  // namespace OV
