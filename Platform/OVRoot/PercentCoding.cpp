#include "OVRoot/PercentCoding.hpp"

#include "OVRoot/Ascii.hpp"

#include <algorithm>

namespace OV {

namespace {

bool IsUnreserved(char byte)
{
    return IsLetter(byte) || IsDigit(byte) || StringView("-._~").find(byte) != StringView::npos;
}

}  // namespace

String PercentEncode(StringView bytes)
{
    String text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        if (IsUnreserved(byte)) {
            text.push_back(byte);
            continue;
        }
        text.push_back('%');
        text.push_back(HexDigit(static_cast<unsigned char>(byte) >> 4));
        text.push_back(HexDigit(static_cast<unsigned char>(byte)));
    }
    return text;
}

std::optional<String> PercentDecode(StringView text)
{
    // Most texts have none.
    const std::size_t first = std::min(text.find('%'), text.size());
    String bytes;
    bytes.reserve(text.size());
    bytes += text.substr(0, first);
    for (std::size_t i = first; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes.push_back(text[i]);
            continue;
        }
        const int high = i + 2 < text.size() ? HexValue(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? HexValue(text[i + 2]) : -1;
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    return IsWellFormedUtf8(bytes) ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace OV
