#include "LogLine/LogText.hpp"

#include "OVRoot/Exception.hpp"

#include <limits>

namespace SYC {

LogText::LogText(OV::String text) : text_(std::move(text))
{
    if (text_.size() > std::numeric_limits<std::uint32_t>::max())
        throw OV::IllegalArgumentException("A log of 4 GiB cannot be read.");
    constexpr std::size_t usualLength = 64;
    lines_.reserve(text_.size() / usualLength);
    ForEachLine(text_, [this](OV::StringView line) {
        lines_.push_back({static_cast<std::uint32_t>(line.data() - text_.data()),
                          static_cast<std::uint32_t>(line.size())});
    });
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
