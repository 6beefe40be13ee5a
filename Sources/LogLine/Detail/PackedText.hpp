#pragma once

#include "OVRoot/UniString.hpp"

#include <cstring>

/// Counts and texts as they stand in memory: a count in as many bytes as it needs, seven bits in
/// each, the lowest first; a text behind the count of its bytes.
namespace SYC::Detail::PackedText {

[[nodiscard]] inline std::size_t SizeOf(std::uint32_t count) noexcept
{
    std::size_t size = 1;
    for (; count >= 0x80; count >>= 7)
        ++size;
    return size;
}
[[nodiscard]] inline std::size_t SizeOf(OV::StringView text) noexcept
{
    return SizeOf(static_cast<std::uint32_t>(text.size())) + text.size();
}

inline char* Write(char* at, std::uint32_t count) noexcept
{
    for (; count >= 0x80; count >>= 7)
        *at++ = static_cast<char>(count | 0x80);
    *at++ = static_cast<char>(count);
    return at;
}
inline char* Write(char* at, OV::StringView text) noexcept
{
    at = Write(at, static_cast<std::uint32_t>(text.size()));
    if (!text.empty())
        std::memcpy(at, text.data(), text.size());
    return at + text.size();
}

[[nodiscard]] inline std::uint32_t ReadCount(const char*& at) noexcept
{
    std::uint32_t count = 0;
    for (unsigned shift = 0;; shift += 7) {
        const auto byte = static_cast<unsigned char>(*at++);
        count |= static_cast<std::uint32_t>(byte & 0x7F) << shift;
        if (byte < 0x80)
            return count;
    }
}
[[nodiscard]] inline OV::StringView ReadText(const char*& at) noexcept
{
    const std::uint32_t size = ReadCount(at);
    const OV::StringView text(at, size);
    at += size;
    return text;
}

}  // namespace SYC::Detail::PackedText
