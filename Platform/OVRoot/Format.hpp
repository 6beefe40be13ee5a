#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <concepts>
#include <initializer_list>

namespace OV {

/// One value of a message: a text or a whole number.
class FormatArgument {
public:
    /// From whatever a call passes; 8-bit texts are UTF-8.
    /// @{
    FormatArgument(UniStringView text) : text_(text) {}
    FormatArgument(const UniString& text) : text_(text) {}
    FormatArgument(const char16_t* text) : text_(text) {}
    FormatArgument(StringView utf8) : text_(FromUtf8(utf8)) {}
    FormatArgument(const String& utf8) : text_(FromUtf8(utf8)) {}
    FormatArgument(const char* utf8) : text_(FromUtf8(utf8)) {}
    FormatArgument(std::integral auto number) : text_(ToText(static_cast<std::int64_t>(number))) {}
    /// @}

    /// As it stands in the message.
    [[nodiscard]] const UniString& Text() const noexcept { return text_; }

private:
    UniString text_;
};

/// Replaces the placeholders of `format` in order. A placeholder is "%" with or without one of the
/// endings s, ls, d, u, lu, hu: all of them stand for the next argument, whatever its type. "%%" is
/// a percent sign. A placeholder without an argument stays as it is; left-over arguments are
/// dropped.
[[nodiscard]] SYC_API UniString FormatText(UniStringView format,
                                           std::initializer_list<FormatArgument> arguments);

}  // namespace OV
