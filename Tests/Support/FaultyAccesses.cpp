/// Loaded into a process before its other libraries, counts what the process asks of the system
/// and lets those calls fail that a FaultPlan names. Files count below the plan's folder only,
/// sockets when they are of the internet.

#include "Support/FaultPlan.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

FaultPlan* plan = nullptr;
std::atomic<bool> hasBegun = false;

enum class Counts : char { No, File, Socket };
std::array<std::atomic<Counts>, 4096> descriptors;

std::atomic<Counts>* Find(long descriptor)
{
    const auto index = static_cast<std::size_t>(static_cast<int>(descriptor));
    return index < descriptors.size() ? &descriptors[index] : nullptr;
}

/// Remembers what a call made, and forgets what had the same number.
void Remember(long descriptor, Counts what)
{
    if (auto* known = Find(descriptor))
        *known = what;
}

bool IsFile(long descriptor)
{
    const auto* known = Find(descriptor);
    return known != nullptr && *known == Counts::File;
}
bool IsSocket(long descriptor)
{
    const auto* known = Find(descriptor);
    return known != nullptr && *known == Counts::Socket;
}

bool IsPath(long text)
{
    const auto* path = reinterpret_cast<const char*>(text);
    const std::size_t length = plan != nullptr ? std::strlen(plan->folder) : 0;
    return length != 0 && path != nullptr && std::strncmp(path, plan->folder, length) == 0;
}
bool IsPathIn(long folder, long text)
{
    return IsPath(text) || (IsFile(folder) && *reinterpret_cast<const char*>(text) != '/');
}

// Only the lower half of a register holds an int.

bool IsInternet(long domain)
{
    return static_cast<int>(domain) == AF_INET || static_cast<int>(domain) == AF_INET6;
}
bool TakesLock(long command, long lock)
{
    const int number = static_cast<int>(command);
    return (number == F_SETLK || number == F_OFD_SETLK) &&
           reinterpret_cast<const struct flock*>(lock)->l_type != F_UNLCK;
}

/// Counts one; true, with errno set, when it is to fail. A short one sets errno to
/// FaultPlan::Short.
bool Fails(Access access)
{
    if (plan == nullptr)
        return false;
    hasBegun = true;
    if (plan->access != access)
        return false;
    const long number = ++plan->count;
    if (number < plan->number || (number > plan->number && !plan->forGood))
        return false;
    ++plan->placed;
    errno = plan->error;
    return true;
}

__attribute__((constructor)) void MapPlan()
{
    const char* file = std::getenv(FaultPlan::Variable);
    const int opened = file != nullptr ? open(file, O_RDWR | O_CLOEXEC) : -1;
    if (opened < 0)
        return;
    void* mapped = mmap(nullptr, sizeof(FaultPlan), PROT_READ | PROT_WRITE, MAP_SHARED, opened, 0);
    close(opened);
    if (mapped != MAP_FAILED)
        plan = static_cast<FaultPlan*>(mapped);
}

/// Every argument and every result of the calls that are replaced is one register, so that one form
/// does for all of them.
using Call = long(long, long, long, long, long, long);

Call* Next(const char* name)
{
    return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}

void* Allocate(std::size_t size, std::size_t alignment = 0)
{
    if (hasBegun && Fails(Access::Allocate))
        return nullptr;
    size = std::max<std::size_t>(size, 1);
    return alignment == 0
               ? std::malloc(size)
               : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

template <class... Alignment>
void* AllocateOrThrow(std::size_t size, Alignment... alignment)
{
    void* const memory = Allocate(size, static_cast<std::size_t>(alignment)...);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

// Each stands for the system's under a name of its own: the headers declare those with attributes
// that no definition could repeat.
#define REPLACE(name, ...)                                                                         \
    extern "C" __attribute__((visibility("default"))) Call Faulty_##name __asm__(#name);           \
    long Faulty_##name(long a, long b, long c, long d, long e, long f)                             \
    {                                                                                              \
        static Call* const real = Next(#name);                                                     \
        __VA_ARGS__                                                                                \
    }
#define FAIL(name, access, isCounted)                                                              \
    REPLACE(name, return (isCounted) && Fails(access) ? -1 : real(a, b, c, d, e, f);)
/// What makes a descriptor, itself or within the object that it returns.
#define MAKE(name, access, isCounted, kind, failure, descriptorOf)                                 \
    REPLACE(name, {                                                                                \
        const bool counts = isCounted;                                                             \
        if (counts && Fails(access))                                                               \
            return failure;                                                                        \
        const long made = real(a, b, c, d, e, f);                                                  \
        if (made != (failure))                                                                     \
            Remember(descriptorOf(made), counts ? kind : Counts::No);                              \
        return made;                                                                               \
    })
/// What moves `c` bytes, or the half of them.
#define MOVE(name, access, isCounted)                                                              \
    REPLACE(name, {                                                                                \
        if ((isCounted) && Fails(access)) {                                                        \
            if (errno != FaultPlan::Short)                                                         \
                return -1;                                                                         \
            c -= c / 2;                                                                            \
        }                                                                                          \
        return real(a, b, c, d, e, f);                                                             \
    })
/// The same with a message, of which half of the first part is moved.
#define MOVE_MESSAGE(name, access)                                                                 \
    REPLACE(name, {                                                                                \
        msghdr message = *reinterpret_cast<const msghdr*>(b);                                      \
        if (!IsSocket(a) || message.msg_iovlen == 0 || !Fails(access))                             \
            return real(a, b, c, d, e, f);                                                         \
        if (errno != FaultPlan::Short)                                                             \
            return -1;                                                                             \
        iovec half = message.msg_iov[0];                                                           \
        half.iov_len -= half.iov_len / 2;                                                          \
        message.msg_iov = &half;                                                                   \
        message.msg_iovlen = 1;                                                                    \
        return real(a, reinterpret_cast<long>(&message), c, d, e, f);                              \
    })
#define FORGET(name, descriptorOf)                                                                 \
    REPLACE(name, {                                                                                \
        Remember(descriptorOf(a), Counts::No);                                                     \
        return real(a, b, c, d, e, f);                                                             \
    })
#define SELF(number) (number)
#define OF_FILE(stream) fileno(reinterpret_cast<FILE*>(stream))
#define OF_FOLDER(folder) dirfd(reinterpret_cast<DIR*>(folder))

MAKE(open, Access::Open, IsPath(a), Counts::File, -1, SELF)
MAKE(open64, Access::Open, IsPath(a), Counts::File, -1, SELF)
MAKE(openat, Access::Open, IsPathIn(a, b), Counts::File, -1, SELF)
MAKE(openat64, Access::Open, IsPathIn(a, b), Counts::File, -1, SELF)
MAKE(creat, Access::Open, IsPath(a), Counts::File, -1, SELF)
MAKE(creat64, Access::Open, IsPath(a), Counts::File, -1, SELF)
MAKE(fopen, Access::Open, IsPath(a), Counts::File, 0, OF_FILE)
MAKE(fopen64, Access::Open, IsPath(a), Counts::File, 0, OF_FILE)
MAKE(opendir, Access::Open, IsPath(a), Counts::File, 0, OF_FOLDER)
MAKE(socket, Access::Socket, IsInternet(a), Counts::Socket, -1, SELF)
MAKE(accept, Access::Accept, IsSocket(a), Counts::Socket, -1, SELF)
FORGET(close, SELF)
FORGET(fclose, OF_FILE)
FORGET(closedir, OF_FOLDER)

FAIL(stat, Access::Stat, IsPath(a))
FAIL(stat64, Access::Stat, IsPath(a))
FAIL(lstat, Access::Stat, IsPath(a))
FAIL(lstat64, Access::Stat, IsPath(a))
FAIL(fstat, Access::Stat, IsFile(a))
FAIL(fstat64, Access::Stat, IsFile(a))
FAIL(fstatat, Access::Stat, IsPathIn(a, b))
FAIL(fstatat64, Access::Stat, IsPathIn(a, b))
FAIL(statx, Access::Stat, IsPathIn(a, b))
FAIL(access, Access::Stat, IsPath(a))
FAIL(faccessat, Access::Stat, IsPathIn(a, b))

MOVE(read, Access::Read, IsFile(a))
MOVE(pread, Access::Read, IsFile(a))
MOVE(pread64, Access::Read, IsFile(a))
MOVE(write, Access::Write, IsFile(a))
MOVE(pwrite, Access::Write, IsFile(a))
MOVE(pwrite64, Access::Write, IsFile(a))
FAIL(ftruncate, Access::Write, IsFile(a))
FAIL(ftruncate64, Access::Write, IsFile(a))
FAIL(fsync, Access::Flush, IsFile(a))
FAIL(fdatasync, Access::Flush, IsFile(a))
FAIL(rename, Access::Rename, IsPath(a))
FAIL(unlink, Access::Delete, IsPath(a))
FAIL(unlinkat, Access::Delete, IsPathIn(a, b))
FAIL(rmdir, Access::Delete, IsPath(a))
FAIL(mkdir, Access::MakeFolder, IsPath(a))
FAIL(flock, Access::Lock, IsFile(a) && static_cast<int>(b) != LOCK_UN)
FAIL(fcntl, Access::Lock, IsFile(a) && TakesLock(b, c))
FAIL(fcntl64, Access::Lock, IsFile(a) && TakesLock(b, c))
FAIL(fchmod, Access::Mode, IsFile(a))
FAIL(readlink, Access::ReadLink, IsPath(a))
REPLACE(readdir, return IsFile(OF_FOLDER(a)) && Fails(Access::List) ? 0 : real(a, b, c, d, e, f);)
REPLACE(readdir64, return IsFile(OF_FOLDER(a)) && Fails(Access::List) ? 0 : real(a, b, c, d, e, f);)

FAIL(connect, Access::Connect, IsSocket(a))
MOVE(send, Access::Send, IsSocket(a))
MOVE(recv, Access::Receive, IsSocket(a))
MOVE_MESSAGE(sendmsg, Access::Send)
MOVE_MESSAGE(recvmsg, Access::Receive)

void* operator new(std::size_t size)
{
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return AllocateOrThrow(size, alignment);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
