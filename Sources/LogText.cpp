#include "LogText.hpp"

#include <cstring>

LogText::LogText(OV::String text) : text_(std::move(text))
{
    const char* const begin = text_.data();
    const char* const end = begin + text_.size();
    constexpr std::size_t usualLength = 64;
    lines_.reserve(text_.size() / usualLength);
    for (const char* at = begin; at != end;) {
        const auto* const feed =
            static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        if (feed == nullptr)
            break;
        if (feed != at)
            lines_.push_back(
                {static_cast<std::size_t>(at - begin), static_cast<std::size_t>(feed - at)});
        at = feed + 1;
    }
}

void LogText::Split(OV::StringView line, OV::StringView separator,
                    OV::Array<OV::StringView>& fields)
{
    fields.clear();
    const char* at = line.data();
    const char* const end = at + line.size();
    const std::size_t length = separator.size();
    const char* search = at;
    while (length > 0 && static_cast<std::size_t>(end - search) >= length) {
        const auto* const found = static_cast<const char*>(std::memchr(
            search, separator.front(), static_cast<std::size_t>(end - search) - length + 1));
        if (found == nullptr)
            break;
        search = found + 1;
        if (std::memcmp(found, separator.data(), length) != 0)
            continue;
        fields.emplace_back(at, static_cast<std::size_t>(found - at));
        at = search = found + length;
    }
    fields.emplace_back(at, static_cast<std::size_t>(end - at));
}
