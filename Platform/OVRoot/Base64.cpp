#include "OVRoot/Base64.hpp"

#include <array>

namespace OV {

namespace {

constexpr StringView Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char NoDigit = 0xFF;

constexpr auto DigitValues = [] {
    std::array<unsigned char, 256> values{};
    values.fill(NoDigit);
    for (std::size_t i = 0; i < Alphabet.size(); ++i)
        values[static_cast<unsigned char>(Alphabet[i])] = static_cast<unsigned char>(i);
    return values;
}();

std::uint32_t ByteAt(StringView bytes, std::size_t i)
{
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
}

std::size_t PaddingOf(StringView text)
{
    return text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
}

/// Four characters as 24 bits; false when one is no digit. Places of the padding count as zero.
bool ReadGroup(StringView group, std::size_t digits, std::uint32_t& bits)
{
    bits = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const unsigned char value =
            i < digits ? DigitValues[static_cast<unsigned char>(group[i])] : 0;
        if (value == NoDigit)
            return false;
        bits = bits << 6 | value;
    }
    return true;
}

}  // namespace

String EncodeBase64(StringView bytes)
{
    String text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::uint32_t bits =
            ByteAt(bytes, i) << 16 | ByteAt(bytes, i + 1) << 8 | ByteAt(bytes, i + 2);
        text.push_back(Alphabet[bits >> 18]);
        text.push_back(Alphabet[bits >> 12 & 63]);
        text.push_back(i + 1 < bytes.size() ? Alphabet[bits >> 6 & 63] : '=');
        text.push_back(i + 2 < bytes.size() ? Alphabet[bits & 63] : '=');
    }
    return text;
}

std::optional<String> DecodeBase64(StringView text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    const std::size_t padding = PaddingOf(text);
    String bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool isLast = i + 4 == text.size();
        if (!ReadGroup(text.substr(i, 4), isLast ? 4 - padding : 4, bits))
            return std::nullopt;
        for (const int shift : {16, 8, 0})
            bytes.push_back(static_cast<char>(bits >> shift & 0xFF));
    }
    if ((bits & ((1u << 8 * padding) - 1)) != 0)
        return std::nullopt;
    bytes.resize(bytes.size() - padding);
    return bytes;
}

}  // namespace OV
