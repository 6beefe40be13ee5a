#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <memory>

namespace OV {

/// Builds an XML value document in memory: elements that hold named, typed values in the order of
/// the calls. Any string survives (see EscapeForCarrier). One thread at a time.
/// Misuse (leaving an element that is not open, a second root) throws IllegalArgumentException.
class SYC_API XMLOChannel {
public:
    XMLOChannel();
    ~XMLOChannel();
    /// The one that is moved from may only be destroyed or assigned to.
    /// @{
    XMLOChannel(XMLOChannel&&) noexcept;
    XMLOChannel& operator=(XMLOChannel&&) noexcept;
    /// @}

    /// Begins an element; what follows stands inside it.
    void EnterElement(StringView name);
    /// Ends the element, which must be the one that was begun last.
    void LeaveElement(StringView name);

    /// Any text, through EscapeForCarrier.
    void WriteString(StringView name, UniStringView value);
    /// An 8-bit string in the default code page.
    void Write8BitString(StringView name, StringView value);
    /// "true" or "false".
    void WriteBool(StringView name, bool value);
    /// A decimal number.
    /// @{
    void WriteInt16(StringView name, std::int16_t value);
    void WriteUInt16(StringView name, std::uint16_t value);
    void WriteInt32(StringView name, std::int32_t value);
    void WriteUInt32(StringView name, std::uint32_t value);
    /// @}
    /// What XMLIChannel::ReadRest gave, as it is but for blanks around it; behind it, nothing more
    /// in this element.
    void WriteRest(String rest);

    /// The whole document in UTF-8 with its declaration; every element must have been left.
    [[nodiscard]] String Text() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace OV
