#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace OV {

/// Overwrites memory that held a secret, in a way that the compiler may not leave out.
inline void SecureWipe(void* memory, std::size_t bytes) noexcept
{
#if defined(__GNUC__)
    if (bytes == 0)
        return;
    std::memset(memory, 0, bytes);
    // Says that somebody may read there: what is not read need not be written. Buffers of many
    // kilobytes are wiped for each request, byte by byte that took a tenth of it.
    __asm__ __volatile__("" : : "r"(memory) : "memory");
#else
    volatile unsigned char* const place = static_cast<unsigned char*>(memory);
    for (std::size_t at = 0; at < bytes; ++at)
        place[at] = 0;
#endif
}

/// Overwrites the text and empties it. Copies that were made of it are not reached.
template <class Character>
void SecureWipe(std::basic_string<Character>& text) noexcept
{
    SecureWipe(text.data(), text.size() * sizeof(Character));
    text.clear();
}

/// Wipes a text when its scope ends, however it ends. The text must outlive it.
template <class Character>
class SecureWipeGuard {
public:
    /// The text must outlive the guard.
    explicit SecureWipeGuard(std::basic_string<Character>& text) noexcept : text_(text) {}
    ~SecureWipeGuard() { SecureWipe(text_); }
    SecureWipeGuard(const SecureWipeGuard&) = delete;
    SecureWipeGuard& operator=(const SecureWipeGuard&) = delete;

private:
    std::basic_string<Character>& text_;
};

}  // namespace OV
