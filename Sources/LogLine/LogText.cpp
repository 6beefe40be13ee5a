#include "LogLine/LogText.hpp"

#include "OVRoot/Exception.hpp"

#include <cstring>
#include <limits>

namespace SYC {

LogText::LogText(OV::String text) : text_(std::move(text))
{
    if (text_.size() > std::numeric_limits<std::uint32_t>::max())
        throw OV::IllegalArgumentException("A log of 4 GiB cannot be read.");
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
                {static_cast<std::uint32_t>(at - begin), static_cast<std::uint32_t>(feed - at)});
        at = feed + 1;
    }
}

void LogText::Split(OV::StringView line, OV::StringView separator,
                    OV::Array<OV::StringView>& fields)
{
    fields.clear();
    if (!separator.empty())
        for (std::size_t end; (end = line.find(separator)) != OV::StringView::npos;) {
            fields.push_back(line.substr(0, end));
            line.remove_prefix(end + separator.size());
        }
    fields.push_back(line);
}

}  // namespace SYC
