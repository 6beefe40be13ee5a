#include "SYCommunication/HttpClient.hpp"

namespace Communication {

namespace {

bool IsUnreserved(unsigned char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

}  // namespace

OV::String PercentEncode(OV::StringView text)
{
    constexpr char digits[] = "0123456789ABCDEF";
    OV::String coded;
    coded.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (IsUnreserved(byte)) {
            coded += character;
        } else {
            coded += '%';
            coded += digits[byte >> 4];
            coded += digits[byte & 15];
        }
    }
    return coded;
}

}  // namespace Communication
