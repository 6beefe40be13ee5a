#include "OVRoot/FieldStream.hpp"

#include "OVRoot/Guid.hpp"

#include <algorithm>
#include <array>

namespace OV {

namespace {

/// Memory grows with the bytes that arrive.
ChannelStatus ReadUtf8(IChannel& channel, String& text)
{
    text.clear();
    std::uint32_t rest = 0;
    if (const auto status = channel.Read(rest); status != ChannelOk)
        return status;
    std::array<std::byte, 4096> piece{};
    while (rest > 0) {
        const auto wanted = std::span(piece).first(std::min<std::size_t>(rest, piece.size()));
        const std::size_t arrived = channel.ReadSome(wanted);
        if (arrived == 0)
            return ChannelFailed;
        text.append(reinterpret_cast<const char*>(piece.data()), arrived);
        rest -= static_cast<std::uint32_t>(arrived);
    }
    return ChannelOk;
}

}  // namespace

FieldReader::FieldReader(IChannel& channel, const ClassInfo& expected) : channel_(channel)
{
    UniString name;
    std::uint16_t mainVersion = 0;
    std::uint16_t subVersion = 0;
    (*this)(name);
    if (name != expected.name)
        Fail();
    TransferFields(*this, mainVersion, subVersion);
    if (!IsGood())
        return;
    mainVersion_ = mainVersion;
    if (mainVersion != expected.mainVersion)
        Fail();
}

void FieldReader::operator()(Guid& guid)
{
    UniString text;
    (*this)(text);
    if (!IsGood())
        return;
    try {
        guid = Guid::Parse(text);
    } catch (const IllegalArgumentException&) {
        Fail();
    }
}

void FieldReader::Utf8(String& text)
{
    Then([&](IChannel& channel) { return ReadUtf8(channel, text); });
}

void FieldReader::Utf8(UniString& text)
{
    if (!IsGood())
        return;
    String bytes;
    Utf8(bytes);
    text = FromUtf8(bytes);
}

FieldWriter::FieldWriter(OChannel& channel, const ClassInfo& info) : channel_(channel)
{
    TransferFields(*this, info.name, info.mainVersion, info.subVersion);
}

void FieldWriter::operator()(const Guid& guid)
{
    (*this)(guid.ToText());
}

void FieldWriter::Utf8(UniStringView text)
{
    const String bytes = ToUtf8(text);
    (*this)(static_cast<std::uint32_t>(bytes.size()));
    Bytes(std::as_bytes(std::span(bytes)));
}

}  // namespace OV
