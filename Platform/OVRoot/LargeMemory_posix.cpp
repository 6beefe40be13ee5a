#include "OVRoot/LargeMemory.hpp"

#include <cstdint>
#include <new>
#include <sys/mman.h>

namespace OV::LargeMemory {

void* Take()
{
    // Twice as much, since the system puts it anywhere, and a large page lies at a multiple of its
    // own size.
    void* const taken =
        mmap(nullptr, 2 * Piece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (taken == MAP_FAILED)
        throw std::bad_alloc();
    auto* const begin = static_cast<std::byte*>(taken);
    const std::size_t before = (Piece - reinterpret_cast<std::uintptr_t>(begin) % Piece) % Piece;
    std::byte* const piece = begin + before;
    // What cannot be cut off costs addresses alone.
    if (before != 0)
        (void)munmap(begin, before);
    (void)munmap(piece + Piece, Piece - before);
#ifdef MADV_HUGEPAGE
    (void)madvise(piece, Piece, MADV_HUGEPAGE);
#endif
    return piece;
}

void GiveBack(void* piece) noexcept
{
    (void)munmap(piece, Piece);
}

}  // namespace OV::LargeMemory
