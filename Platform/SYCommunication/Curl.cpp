#include "SYCommunication/Detail/Curl.hpp"
#include "OVRoot/SecureWipe.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Communication::Detail {

namespace {

/// In front of every block stands its size, in room that keeps the block aligned.
constexpr std::size_t HeadBytes = alignof(std::max_align_t);
static_assert(HeadBytes >= sizeof(std::size_t));

std::byte* HeadOf(void* block)
{
    return static_cast<std::byte*>(block) - HeadBytes;
}

std::size_t SizeOf(void* block)
{
    std::size_t bytes = 0;
    std::memcpy(&bytes, HeadOf(block), sizeof bytes);
    return bytes;
}

void* Allocate(std::size_t bytes)
{
    if (bytes > std::numeric_limits<std::size_t>::max() - HeadBytes)
        return nullptr;
    auto* const head = static_cast<std::byte*>(std::malloc(HeadBytes + bytes));
    if (head == nullptr)
        return nullptr;
    std::memcpy(head, &bytes, sizeof bytes);
    return head + HeadBytes;
}

void Free(void* block)
{
    if (block == nullptr)
        return;
    OV::SecureWipe(block, SizeOf(block));
    std::free(HeadOf(block));
}

void* Reallocate(void* block, std::size_t bytes)
{
    void* const larger = Allocate(bytes);
    if (block == nullptr || larger == nullptr)
        return larger;
    std::memcpy(larger, block, std::min(bytes, SizeOf(block)));
    Free(block);
    return larger;
}

void* AllocateZeroed(std::size_t count, std::size_t bytes)
{
    if (bytes != 0 && count > std::numeric_limits<std::size_t>::max() / bytes)
        return nullptr;
    void* const block = Allocate(count * bytes);
    return block == nullptr ? nullptr : std::memset(block, 0, count * bytes);
}

char* Duplicate(const char* text)
{
    const auto bytes = std::strlen(text) + 1;
    void* const block = Allocate(bytes);
    return block == nullptr ? nullptr : static_cast<char*>(std::memcpy(block, text, bytes));
}

}  // namespace

void InitialiseCurl()
{
    static const CURLcode once = curl_global_init_mem(CURL_GLOBAL_DEFAULT, &Allocate, &Free,
                                                      &Reallocate, &Duplicate, &AllocateZeroed);
    (void)once;
}

}  // namespace Communication::Detail
