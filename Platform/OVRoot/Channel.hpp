#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstddef>
#include <span>

namespace OV {

/// Status of a channel operation: 0 for success, otherwise an error code that callers hand on as it
/// is.
using ChannelStatus = int;
/// Success.
inline constexpr ChannelStatus ChannelOk = 0;
/// A failed read or write, an unknown version or an unknown type id.
inline constexpr ChannelStatus ChannelFailed = -7003;

/// Binary input. Numbers are little-endian, a bool is one byte (0 or 1, anything else fails), a
/// string is an unsigned 32-bit count of bytes followed by that many bytes of UTF-16LE (an odd
/// count fails). After a failure the values of later reads are unspecified, but the channel stays
/// usable and memory grows only with bytes that really arrived: to twice them at most, plus one
/// step of 64 KiB.
class SYC_API IChannel {
public:
    virtual ~IChannel() = default;

    /// Fills `target` wholly or fails.
    [[nodiscard]] virtual ChannelStatus ReadBytes(std::span<std::byte> target) = 0;
    /// Reads what is there, at most all of `target`, and returns how many bytes that were; none at
    /// the end and after a failure. A channel that cannot do it gives all or nothing.
    [[nodiscard]] virtual std::size_t ReadSome(std::span<std::byte> target)
    {
        return ReadBytes(target) == ChannelOk ? target.size() : 0;
    }

    /// A value in the form that the class describes; ChannelOk, or why there is none.
    /// @{
    [[nodiscard]] ChannelStatus Read(bool& value);
    [[nodiscard]] ChannelStatus Read(std::int16_t& value);
    [[nodiscard]] ChannelStatus Read(std::uint16_t& value);
    [[nodiscard]] ChannelStatus Read(std::int32_t& value);
    [[nodiscard]] ChannelStatus Read(std::uint32_t& value);
    [[nodiscard]] ChannelStatus Read(UniString& value);
    /// @}
    /// `count` bytes, appended to an emptied `value`; for counts that came from a file.
    [[nodiscard]] ChannelStatus ReadBlock(String& value, std::uint32_t count);
};

/// Binary output in the form that IChannel reads.
class SYC_API OChannel {
public:
    virtual ~OChannel() = default;

    /// Writes all of `source` or fails.
    [[nodiscard]] virtual ChannelStatus WriteBytes(std::span<const std::byte> source) = 0;

    /// A value in the form that IChannel reads.
    /// @{
    [[nodiscard]] ChannelStatus Write(bool value);
    [[nodiscard]] ChannelStatus Write(std::int16_t value);
    [[nodiscard]] ChannelStatus Write(std::uint16_t value);
    [[nodiscard]] ChannelStatus Write(std::int32_t value);
    [[nodiscard]] ChannelStatus Write(std::uint32_t value);
    [[nodiscard]] ChannelStatus Write(UniStringView value);
    /// @}
    /// Keeps a string literal from becoming a bool.
    template <class T>
    ChannelStatus Write(const T* value) = delete;
};

/// The same channels under the names that records of files are read and written by.
using IBinaryChannel = IChannel;
/// See IBinaryChannel.
using OBinaryChannel = OChannel;

/// Raised by the channels with exceptions.
class SYC_API ChannelException : public Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(ChannelException)
};

/// Binary input with exceptions (ChannelException) instead of codes; same forms as IChannel.
class SYC_API IChannelX {
public:
    virtual ~IChannelX() = default;

    /// Fills `target` wholly or throws.
    virtual void ReadBytes(std::span<std::byte> target) = 0;
    /// Whether nothing is left to read.
    [[nodiscard]] virtual bool AtEnd() = 0;

    /// False, and no exception, at the end of the data: a record may leave out a trailing flag.
    [[nodiscard]] bool ReadBool();
    /// 32 bits, little-endian. Throws when they are not all there.
    /// @{
    [[nodiscard]] std::int32_t ReadInt();
    [[nodiscard]] std::uint32_t ReadUInt();
    /// @}
    /// `count` bytes; for counts that came from a file. Throws when they are not all there.
    [[nodiscard]] String ReadBlock(std::uint32_t count);
};

/// Binary output with exceptions.
class SYC_API OChannelX {
public:
    virtual ~OChannelX() = default;

    /// Writes all of `source` or throws.
    virtual void WriteBytes(std::span<const std::byte> source) = 0;

    /// A value in the form that IChannelX reads.
    /// @{
    void WriteBool(bool value);
    void WriteInt(std::int32_t value);
    void WriteUInt(std::uint32_t value);
    /// @}
};

/// Strings on the channels with exceptions: an unsigned 32-bit count of bytes, then UTF-8.
namespace OBinaryChannelUtilities {
/// Throws ChannelException when the channel does, or the text is too long for its count.
SYC_API void WriteUniStringAsUTF8(OChannelX& channel, UniStringView text);
}  // namespace OBinaryChannelUtilities
namespace IBinaryChannelUtilities {
/// Throws ChannelException when the text is not all there.
[[nodiscard]] SYC_API UniString ReadUniStringFromUTF8(IChannelX& channel);
}  // namespace IBinaryChannelUtilities

}  // namespace OV
