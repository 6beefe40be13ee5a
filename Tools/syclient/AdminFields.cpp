#include "AdminFields.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/Exception.hpp"

#include <charconv>

namespace {

/// The whole text as an unsigned number of that base.
bool ReadNumber(std::string_view text, int base, std::uint32_t& number)
{
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, base);
    return result.ec == std::errc() && result.ptr == end && !text.empty();
}

}  // namespace

namespace AdminFields {

void ThrowBadValue(const std::string& name, const std::string& value,
                   const std::string& placeholder)
{
    throw OV::IllegalArgumentException(
        OV::StringView("--" + name + " takes " + placeholder + ", not \"" + value + "\"."));
}

std::pair<std::string, std::string> SplitPair(const std::string& name, const std::string& value,
                                              const std::string& placeholder)
{
    const auto at = value.find('=');
    if (at == std::string::npos || at == 0)
        ThrowBadValue(name, value, placeholder);
    return {value.substr(0, at), value.substr(at + 1)};
}

std::uint32_t ParseColour(const std::string& text)
{
    std::uint32_t colour = 0;
    if (text.size() != 7 || text[0] != '#' ||
        !ReadNumber(std::string_view(text).substr(1), 16, colour))
        ThrowBadValue("colour", text, "#RRGGBB");
    return colour;
}

std::uint32_t ParseNumber(const std::string& name, const std::string& text)
{
    std::uint32_t number = 0;
    if (!ReadNumber(text, 10, number))
        ThrowBadValue(name, text, "a number");
    return number;
}

}  // namespace AdminFields
