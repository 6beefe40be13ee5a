#include "OVRoot/UniString.hpp"

#include "OVRoot/Ascii.hpp"

#include <algorithm>
#include <charconv>
#include <type_traits>

namespace OV {

namespace {

constexpr std::size_t MostBytesPerUnit = 3;

/// Writes the bytes of `code` at `out`; returns the place behind them.
char* PutUtf8(char* out, char32_t code)
{
    const auto put = [&](char32_t bits) { *out++ = static_cast<char>(bits); };
    const auto tail = [&](int shift) { put(0x80 | ((code >> shift) & 0x3F)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | (code >> 6));
        tail(0);
    } else if (code < 0x10000) {
        put(0xE0 | (code >> 12));
        tail(6);
        tail(0);
    } else {
        put(0xF0 | (code >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
    return out;
}

struct Decoded {
    char32_t code = 0;
    std::size_t length = 0;  ///< 0 for a malformed sequence
};

/// One code point at the front of `bytes`, which is not empty. Surrogates in three bytes are let
/// through.
Decoded DecodeOne(StringView bytes)
{
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = at(0);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length)
        return {};
    char32_t code = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((at(i) & 0xC0) != 0x80)
            return {};
        code = (code << 6) | (at(i) & 0x3Fu);
    }
    static constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF)
        return {};
    return {code, length};
}

constexpr char16_t Replacement = 0xFFFD;

/// Length of the ASCII text at the front, which is all of most texts. Blocks without a branch
/// inside are what compilers turn into vector instructions.
template <class Text>
std::size_t AsciiLength(Text text)
{
    constexpr std::size_t block = 16;
    std::size_t length = 0;
    for (; length + block <= text.size(); length += block) {
        unsigned bits = 0;
        for (std::size_t i = length; i < length + block; ++i)
            bits |= static_cast<std::make_unsigned_t<typename Text::value_type>>(text[i]);
        if (bits >= 0x80)
            break;
    }
    while (length < text.size() &&
           static_cast<std::make_unsigned_t<typename Text::value_type>>(text[length]) < 0x80)
        ++length;
    return length;
}

bool NeedsEscape(UniStringView text, std::size_t i)
{
    const char16_t unit = text[i];
    if (unit < 0x20)
        return unit != u'\t' && unit != u'\n';
    if (unit == u'\\')
        return i + 1 < text.size() && text[i + 1] == u'u';
    if (IsHighSurrogate(unit))
        return i + 1 >= text.size() || !IsLowSurrogate(text[i + 1]);
    if (IsLowSurrogate(unit))
        return i == 0 || !IsHighSurrogate(text[i - 1]);
    return unit >= 0xFFFE || (unit >= 0x7F && unit < 0xA0);
}

void AppendEscape(UniString& out, char16_t unit)
{
    out += u"\\u";
    for (unsigned shift = 16; shift > 0; shift -= 4)
        out.push_back(static_cast<char16_t>(HexDigit(unit >> (shift - 4))));
}

constexpr std::size_t EscapeLength = 6;

/// The code unit that the escape at the front of `text` stands for, or -1.
int EscapedUnit(UniStringView text)
{
    if (text.size() < EscapeLength)
        return -1;
    int unit = 0;
    for (const char16_t digit : text.substr(2, 4)) {
        const int value = HexValue(digit);
        if (value < 0 || digit != HexDigit(static_cast<unsigned>(value)))
            return -1;
        unit = unit * 16 + value;
    }
    return unit;
}

}  // namespace

String ToUtf8(UniStringView text)
{
    const std::size_t ascii = AsciiLength(text);
    // Never grows: that would leave a copy behind, and the text may be a password.
    String out(ascii + MostBytesPerUnit * (text.size() - ascii), '\0');
    std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(ascii), out.begin(),
                   [](char16_t unit) { return static_cast<char>(unit); });
    if (ascii == text.size())
        return out;
    char* end = out.data() + ascii;
    for (std::size_t i = ascii; i < text.size(); ++i) {
        char32_t code = text[i];
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]))
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
        end = PutUtf8(end, code);
    }
    out.resize(static_cast<std::size_t>(end - out.data()));
    return out;
}

UniString FromUtf8(StringView bytes)
{
    if (AsciiLength(bytes) == bytes.size())
        return {bytes.begin(), bytes.end()};
    UniString out;
    AssignUtf8(out, bytes);
    return out;
}

void AssignUtf8(UniString& out, StringView bytes)
{
    const std::size_t ascii = AsciiLength(bytes);
    if (ascii == bytes.size() && ascii > out.capacity()) {
        out = UniString(bytes.begin(), bytes.end());
        return;
    }
    // Never grows behind this, as in ToUtf8.
    out.resize(bytes.size());
    std::transform(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(ascii), out.begin(),
                   [](char byte) { return static_cast<char16_t>(byte); });
    out.resize(ascii);
    for (bytes.remove_prefix(ascii); !bytes.empty();) {
        const Decoded decoded = DecodeOne(bytes);
        if (decoded.length == 0) {
            out.push_back(Replacement);
        } else if (decoded.code < 0x10000) {
            out.push_back(static_cast<char16_t>(decoded.code));
        } else {
            out.push_back(static_cast<char16_t>(0xD7C0 + (decoded.code >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (decoded.code & 0x3FF)));
        }
        bytes.remove_prefix(std::max<std::size_t>(decoded.length, 1));
    }
}

bool IsWellFormedUtf8(StringView bytes) noexcept
{
    bytes.remove_prefix(AsciiLength(bytes));
    while (!bytes.empty()) {
        const Decoded decoded = DecodeOne(bytes);
        if (decoded.length == 0)
            return false;
        bytes.remove_prefix(decoded.length);
    }
    return true;
}

UniString EscapeForCarrier(UniStringView text)
{
    std::size_t plain = 0;
    while (plain < text.size() && !NeedsEscape(text, plain))
        ++plain;
    // Never grows, as in ToUtf8.
    UniString out;
    out.reserve(plain + EscapeLength * (text.size() - plain));
    out.append(text.substr(0, plain));
    for (std::size_t i = plain; i < text.size(); ++i) {
        if (NeedsEscape(text, i))
            AppendEscape(out, text[i]);
        else
            out.push_back(text[i]);
    }
    return out;
}

UniString UnescapeFromCarrier(UniStringView text)
{
    UniString out;
    out.reserve(text.size());
    for (;;) {
        const std::size_t escape = std::min(text.find(u"\\u"), text.size());
        out += text.substr(0, escape);
        text.remove_prefix(escape);
        if (text.empty())
            return out;
        const int unit = EscapedUnit(text);
        out.push_back(unit < 0 ? text[0] : static_cast<char16_t>(unit));
        text.remove_prefix(unit < 0 ? 1 : EscapeLength);
    }
}

UniString ToText(std::int64_t number)
{
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return UniString(digits, end);
}

}  // namespace OV
