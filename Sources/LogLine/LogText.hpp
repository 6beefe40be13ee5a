#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace SYC {

/// The text of a log, UTF-8, and where its lines begin.
class SYC_API LogText {
public:
    LogText() = default;
    /// Cuts at line feeds. Empty lines are none, and neither is what follows the last line feed.
    /// A text of 4 GiB and more throws OV::IllegalArgumentException.
    explicit LogText(OV::String text);

    /// Empty ones are not counted.
    [[nodiscard]] std::uint32_t GetLineCount() const noexcept
    {
        return static_cast<std::uint32_t>(lines_.size());
    }
    /// Gives the text away; there are no lines then.
    [[nodiscard]] OV::String TakeText()
    {
        lines_.clear();
        return std::move(text_);
    }
    /// Without its line feed. `line` must be below the count.
    [[nodiscard]] OV::StringView GetLine(std::uint32_t line) const noexcept
    {
        return {text_.data() + lines_[line].start, lines_[line].length};
    }

    /// Tells the lines of a text to `take`: what stands before each line feed and is not empty.
    template <class Take>
    static void ForEachLine(OV::StringView text, Take&& take)
    {
        for (std::size_t feed; (feed = text.find('\n')) != OV::StringView::npos;) {
            if (feed > 0)
                take(text.substr(0, feed));
            text.remove_prefix(feed + 1);
        }
    }
    /// Cuts a line at each separator; nothing escapes one. The parts are views of the line.
    static void Split(OV::StringView line, OV::StringView separator,
                      OV::Array<OV::StringView>& fields);

private:
    struct Line {
        std::uint32_t start;
        std::uint32_t length;
    };

    OV::String text_;
    OV::Array<Line> lines_;
};

}  // namespace SYC
