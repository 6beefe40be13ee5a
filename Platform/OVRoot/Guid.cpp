#include "OVRoot/Guid.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/System.hpp"

#include <cstring>

namespace OV {

namespace {

constexpr bool HyphenBefore(std::size_t byte)
{
    return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

}  // namespace

Guid Guid::Generate()
{
    Guid guid;
    // A std::random_device asks the processor what it can do first, which takes longer than all the
    // rest in a virtual machine.
    System::FillRandom(std::as_writable_bytes(std::span(guid.bytes_)));
    guid.bytes_[6] = static_cast<std::uint8_t>((guid.bytes_[6] & 0x0F) | 0x40);
    guid.bytes_[8] = static_cast<std::uint8_t>((guid.bytes_[8] & 0x3F) | 0x80);
    return guid;
}

Guid Guid::Parse(UniStringView text)
{
    Guid guid;
    std::size_t at = 0;
    const auto next = [&] { return at < text.size() ? text[at++] : u'\0'; };
    bool good = text.size() == 36;
    for (std::size_t i = 0; i < guid.bytes_.size() && good; ++i) {
        if (HyphenBefore(i))
            good = next() == u'-';
        const int high = HexValue(next());
        const int low = HexValue(next());
        good = good && high >= 0 && low >= 0;
        guid.bytes_[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    if (!good)
        throw IllegalArgumentException(u"\"" + UniString(text) + u"\" is no GUID.");
    return guid;
}

UniString Guid::ToText() const
{
    UniString text;
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (HyphenBefore(i))
            text.push_back(u'-');
        text.push_back(static_cast<char16_t>(HexDigit(bytes_[i] >> 4)));
        text.push_back(static_cast<char16_t>(HexDigit(bytes_[i])));
    }
    return text;
}

}  // namespace OV

std::size_t std::hash<OV::Guid>::operator()(const OV::Guid& guid) const noexcept
{
    std::size_t value = 0;
    std::memcpy(&value, guid.Bytes().data(), sizeof value);
    return value;
}
