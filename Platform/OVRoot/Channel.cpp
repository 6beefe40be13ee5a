#include "OVRoot/Channel.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <limits>

namespace OV {

namespace {

constexpr std::size_t Step = 64 * 1024;

template <std::integral Number>
auto Encode(Number value)
{
    std::array<std::byte, sizeof(Number)> bytes{};
    auto rest = static_cast<std::make_unsigned_t<Number>>(value);
    for (auto& byte : bytes) {
        byte = static_cast<std::byte>(rest & 0xFF);
        rest = static_cast<std::make_unsigned_t<Number>>(rest >> 8);
    }
    return bytes;
}

template <std::integral Number>
Number Decode(const std::array<std::byte, sizeof(Number)>& bytes)
{
    std::make_unsigned_t<Number> value = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;)
        value = static_cast<std::make_unsigned_t<Number>>(static_cast<std::uint64_t>(value) << 8 |
                                                          static_cast<std::uint64_t>(bytes[i]));
    return static_cast<Number>(value);
}

template <std::integral Number>
ChannelStatus ReadNumber(IChannel& channel, Number& value)
{
    std::array<std::byte, sizeof(Number)> bytes{};
    if (const auto status = channel.ReadBytes(bytes); status != ChannelOk)
        return status;
    value = Decode<Number>(bytes);
    return ChannelOk;
}

std::span<const std::byte> AsBytes(StringView text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

/// Calls `read` for pieces of `target` of at most one step, growing it only as bytes arrive.
template <class Text, class Read>
auto GrowAndRead(Text& target, std::size_t count, Read&& read)
{
    constexpr std::size_t step = Step / sizeof(typename Text::value_type);
    target.clear();
    decltype(read(std::span<std::byte>{})) status = 0;
    while (count > 0 && status == 0) {
        const std::size_t piece = std::min(count, step);
        const std::size_t at = target.size();
        target.resize(at + piece);
        status = read(std::as_writable_bytes(std::span(target.data() + at, piece)));
        count -= piece;
    }
    return status;
}

/// From the order of the channels to the machine's or back; nothing to do on most machines.
[[maybe_unused]] void SwapBytes(UniString& text)
{
    for (char16_t& unit : text)
        unit = static_cast<char16_t>(unit << 8 | unit >> 8);
}
constexpr bool IsLittleEndian = std::endian::native == std::endian::little;

}  // namespace

ChannelStatus IChannel::Read(bool& value)
{
    std::byte byte{};
    if (const auto status = ReadBytes({&byte, 1}); status != ChannelOk)
        return status;
    if (byte > std::byte{1})
        return ChannelFailed;
    value = byte == std::byte{1};
    return ChannelOk;
}

ChannelStatus IChannel::Read(std::int16_t& value)
{
    return ReadNumber(*this, value);
}
ChannelStatus IChannel::Read(std::uint16_t& value)
{
    return ReadNumber(*this, value);
}
ChannelStatus IChannel::Read(std::int32_t& value)
{
    return ReadNumber(*this, value);
}
ChannelStatus IChannel::Read(std::uint32_t& value)
{
    return ReadNumber(*this, value);
}

ChannelStatus IChannel::Read(UniString& value)
{
    std::uint32_t count = 0;
    if (const auto status = Read(count); status != ChannelOk)
        return status;
    if (count % 2 != 0)
        return ChannelFailed;
    const auto status =
        GrowAndRead(value, count / 2, [&](std::span<std::byte> piece) { return ReadBytes(piece); });
    if constexpr (!IsLittleEndian)
        SwapBytes(value);
    return status;
}

ChannelStatus IChannel::ReadBlock(String& value, std::uint32_t count)
{
    return GrowAndRead(value, count, [&](std::span<std::byte> piece) { return ReadBytes(piece); });
}

ChannelStatus OChannel::Write(bool value)
{
    const std::byte byte{static_cast<unsigned char>(value)};
    return WriteBytes({&byte, 1});
}

ChannelStatus OChannel::Write(std::int16_t value)
{
    return WriteBytes(Encode(value));
}
ChannelStatus OChannel::Write(std::uint16_t value)
{
    return WriteBytes(Encode(value));
}
ChannelStatus OChannel::Write(std::int32_t value)
{
    return WriteBytes(Encode(value));
}
ChannelStatus OChannel::Write(std::uint32_t value)
{
    return WriteBytes(Encode(value));
}

ChannelStatus OChannel::Write(UniStringView value)
{
    if (value.size() > std::numeric_limits<std::uint32_t>::max() / 2)
        return ChannelFailed;
    const auto count = static_cast<std::uint32_t>(value.size() * 2);
    if (const auto status = Write(count); status != ChannelOk)
        return status;
    if constexpr (IsLittleEndian)
        return WriteBytes(std::as_bytes(std::span(value)));
    UniString swapped(value);
    SwapBytes(swapped);
    return WriteBytes(std::as_bytes(std::span(swapped)));
}

bool IChannelX::ReadBool()
{
    if (AtEnd())
        return false;
    std::byte byte{};
    ReadBytes({&byte, 1});
    if (byte > std::byte{1})
        throw ChannelException("A flag of the record is neither 0 nor 1.");
    return byte == std::byte{1};
}

std::int32_t IChannelX::ReadInt()
{
    return static_cast<std::int32_t>(ReadUInt());
}

std::uint32_t IChannelX::ReadUInt()
{
    std::array<std::byte, 4> bytes{};
    ReadBytes(bytes);
    return Decode<std::uint32_t>(bytes);
}

String IChannelX::ReadBlock(std::uint32_t count)
{
    String value;
    GrowAndRead(value, count, [&](std::span<std::byte> piece) {
        ReadBytes(piece);
        return 0;
    });
    return value;
}

void OChannelX::WriteBool(bool value)
{
    const std::byte byte{static_cast<unsigned char>(value)};
    WriteBytes({&byte, 1});
}

void OChannelX::WriteInt(std::int32_t value)
{
    WriteBytes(Encode(value));
}
void OChannelX::WriteUInt(std::uint32_t value)
{
    WriteBytes(Encode(value));
}

void OBinaryChannelUtilities::WriteUniStringAsUTF8(OChannelX& channel, UniStringView text)
{
    const String bytes = ToUtf8(text);
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        throw ChannelException("A text of the record is longer than 4 GiB.");
    channel.WriteUInt(static_cast<std::uint32_t>(bytes.size()));
    channel.WriteBytes(AsBytes(bytes));
}

UniString IBinaryChannelUtilities::ReadUniStringFromUTF8(IChannelX& channel)
{
    return FromUtf8(channel.ReadBlock(channel.ReadUInt()));
}

}  // namespace OV
