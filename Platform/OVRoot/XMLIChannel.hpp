#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <memory>

namespace OV {

/// A value document does not hold what was asked for. The message names the source of the document,
/// the element and what was expected.
class SYC_API XMLChannelException : public Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(XMLChannelException)
};

/// Reads an XML value document strictly and in order: the next value must carry the asked name, its
/// text must be a whole value of the asked type, numbers must be in range. Every failure throws
/// XMLChannelException and leaves the position where it was. One thread at a time.
class SYC_API XMLIChannel {
public:
    /// `text` is UTF-8; `sourceName` is what messages call the document (a path, mostly).
    XMLIChannel(String text, UniString sourceName);
    ~XMLIChannel();
    /// The one that is moved from may only be destroyed or assigned to.
    /// @{
    XMLIChannel(XMLIChannel&&) noexcept;
    XMLIChannel& operator=(XMLIChannel&&) noexcept;
    /// @}

    /// Goes into the next element; what follows is read from inside it.
    void EnterElement(StringView name);
    /// Everything inside the element must have been read.
    void LeaveElement(StringView name);
    /// Passes over the next element, whatever is inside.
    void SkipElement(StringView name);

    /// With what EscapeForCarrier wrote undone.
    [[nodiscard]] UniString ReadString(StringView name);
    /// The same in the default code page.
    [[nodiscard]] String Read8BitString(StringView name);
    /// "true" or "false".
    [[nodiscard]] bool ReadBool(StringView name);
    /// A whole decimal number of that many bits; one that is out of range throws.
    /// @{
    [[nodiscard]] std::int16_t ReadInt16(StringView name);
    [[nodiscard]] std::uint16_t ReadUInt16(StringView name);
    [[nodiscard]] std::int32_t ReadInt32(StringView name);
    [[nodiscard]] std::uint32_t ReadUInt32(StringView name);
    /// @}

    /// Name of the next value or element at this level; empty at the end of the level.
    [[nodiscard]] String PeekName() const;
    /// What is left of this level, byte by byte as it stands in the document, for
    /// XMLOChannel::WriteRest; the end of the level is next then. Comments before the first element
    /// that is left are not part of it.
    [[nodiscard]] String ReadRest();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace OV
