#include "SyncraProtocol/Detail/JsonWriter.hpp"

#include "OVRoot/SecureWipe.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace Syncra::Protocol {

namespace {

constexpr bool IsPlain(char16_t unit)
{
    return unit >= 0x20 && unit < 0x7F && unit != u'"' && unit != u'\\';
}

OV::String Escaped(char byte)
{
    static constexpr char digits[] = "0123456789abcdef";
    switch (byte) {
    case '"':
    case '\\':
        return {'\\', byte};
    case '\b':
        return "\\b";
    case '\f':
        return "\\f";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return {'\\', 'u', '0', '0', digits[byte >> 4 & 0xF], digits[byte & 0xF]};
    }
}

constexpr bool NeedsEscape(unsigned char byte)
{
    return (byte < 0x20) | (byte == '"') | (byte == '\\');
}

/// Length of the front in which nothing needs an escape, which is nearly all of most texts. Blocks
/// without a branch inside are what compilers turn into vector instructions.
std::size_t PlainLength(OV::StringView utf8)
{
    constexpr std::size_t block = 16;
    const auto needsEscape = [&](std::size_t i) {
        return NeedsEscape(static_cast<unsigned char>(utf8[i]));
    };
    std::size_t length = 0;
    for (; length + block <= utf8.size(); length += block) {
        bool isAny = false;
        for (std::size_t i = length; i < length + block; ++i)
            isAny |= needsEscape(i);
        if (isAny)
            break;
    }
    while (length < utf8.size() && !needsEscape(length))
        ++length;
    return length;
}

/// The place from `from` on of a lone surrogate in UTF-8 that lets them through, or npos.
std::size_t FindSurrogate(OV::StringView utf8, std::size_t from = 0)
{
    auto at = utf8.find('\xED', from);
    while (at != utf8.npos && static_cast<unsigned char>(utf8[at + 1]) < 0xA0)
        at = utf8.find('\xED', at + 1);
    return at;
}

/// UTF-8 of the wire, whatever the bytes are.
OV::String Repaired(OV::StringView bytes)
{
    auto utf8 = OV::ToUtf8(OV::FromUtf8(bytes));
    for (auto at = FindSurrogate(utf8); at != utf8.npos; at = FindSurrogate(utf8, at))
        utf8.replace(at, 3, "\xEF\xBF\xBD");
    return utf8;
}

/// The digits of a number, in `room`.
template <class Number>
OV::StringView Digits(Number number, std::array<char, 24>& room)
{
    const auto end = std::to_chars(room.data(), room.data() + room.size(), number).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

}  // namespace

void JsonWriter::MakeSecretRoom(std::size_t bytes)
{
    if (text_.capacity() - text_.size() >= bytes)
        return;
    OV::String larger;
    larger.reserve(2 * (text_.size() + bytes));
    larger += text_;
    OV::SecureWipe(text_);
    text_ = std::move(larger);
}

void JsonWriter::Separate()
{
    if (needsComma_)
        Append(',');
    needsComma_ = true;
}

void JsonWriter::Begin(char bracket)
{
    Separate();
    Append(bracket);
    needsComma_ = false;
}

void JsonWriter::End(char bracket)
{
    Append(bracket);
    needsComma_ = true;
}

void JsonWriter::Key(OV::StringView utf8)
{
    PlainText(utf8);
    Append(':');
    needsComma_ = false;
}

void JsonWriter::Key(OV::UniStringView text)
{
    Text(text);
    Append(':');
    needsComma_ = false;
}

void JsonWriter::PlainKey(OV::StringView text)
{
    Quote(text);
    Append(':');
    needsComma_ = false;
}

void JsonWriter::Integer(std::int64_t number)
{
    Separate();
    std::array<char, 24> room;
    Append(Digits(number, room));
}

void JsonWriter::Unsigned(std::uint64_t number)
{
    Separate();
    std::array<char, 24> room;
    Append(Digits(number, room));
}

void JsonWriter::Raw(OV::StringView json)
{
    Separate();
    Append(json);
}

void JsonWriter::Quote(OV::StringView text)
{
    Separate();
    Append('"');
    Append(text);
    Append('"');
}

void JsonWriter::Text(OV::UniStringView text)
{
    Separate();
    Quoted(text);
}

void JsonWriter::Text(OV::StringView utf8)
{
    const bool isPlain = std::all_of(utf8.begin(), utf8.end(), [](char byte) {
        return IsPlain(static_cast<unsigned char>(byte));
    });
    if (isPlain)
        Quote(utf8);
    else
        Text(OV::FromUtf8(utf8));
}

void JsonWriter::Secret(OV::UniStringView text)
{
    holdsSecret_ = true;
    Text(text);
}

void JsonWriter::PlainText(OV::StringView utf8)
{
    Separate();
    if (OV::IsWellFormedUtf8(utf8) && FindSurrogate(utf8) == utf8.npos)
        Quoted(utf8);
    else
        Quoted(OV::StringView(Repaired(utf8)));
}

void JsonWriter::Quoted(OV::UniStringView text)
{
    if (!std::all_of(text.begin(), text.end(), IsPlain)) {
        // A password may be among such texts.
        OV::UniString escaped = OV::EscapeForCarrier(text);
        const OV::SecureWipeGuard<char16_t> wipeEscaped(escaped);
        OV::String utf8 = OV::ToUtf8(escaped);
        const OV::SecureWipeGuard<char> wipeUtf8(utf8);
        return Quoted(OV::StringView(utf8));
    }
    Append('"');
    const auto begin = text_.size();
    MakeRoom(text.size());
    text_.resize(begin + text.size());
    std::transform(text.begin(), text.end(), text_.begin() + static_cast<std::ptrdiff_t>(begin),
                   [](char16_t unit) { return static_cast<char>(unit); });
    Append('"');
}

void JsonWriter::Quoted(OV::StringView utf8)
{
    Append('"');
    for (;;) {
        const auto plain = PlainLength(utf8);
        Append(utf8.substr(0, plain));
        if (plain == utf8.size())
            break;
        Append(Escaped(utf8[plain]));
        utf8.remove_prefix(plain + 1);
    }
    Append('"');
}

}  // namespace Syncra::Protocol
