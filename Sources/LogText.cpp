#include "LogText.hpp"

#include "OVRoot/Exception.hpp"

#include <array>
#include <bit>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t BlockBytes = 16;

/// Bit n is set where the separator's first two characters may begin at byte n of the block and the
/// byte behind it. Who reads a block may read one byte more.
std::uint32_t MarksOf(const char* at, char first, char second) noexcept
{
#if defined(__SSE2__)
    using Block = char __attribute__((vector_size(BlockBytes)));
    Block here, behind;
    std::memcpy(&here, at, BlockBytes);
    std::memcpy(&behind, at + 1, BlockBytes);
    const Block both = (Block)((here == first) & (behind == second));
    return static_cast<std::uint32_t>(__builtin_ia32_pmovmskb128(both));
#else
    std::uint32_t marks = 0;
    for (std::size_t n = 0; n < BlockBytes; ++n)
        marks |= std::uint32_t(at[n] == first && at[n + 1] == second) << n;
    return marks;
#endif
}

/// Collects the pieces between the separators.
class Cutter {
public:
    Cutter(OV::StringView line, OV::StringView separator, OV::Array<OV::StringView>& fields)
        : at_(line.data()), end_(at_ + line.size()), separator_(separator), fields_(fields)
    {}

    /// Cuts if a separator stands here and the one before has ended. `place` may lie behind the end
    /// of the line.
    void Try(const char* place)
    {
        const std::size_t length = separator_.size();
        if (place < at_ || end_ - place < static_cast<std::ptrdiff_t>(length) ||
            (length > 2 && std::memcmp(place, separator_.data(), length) != 0))
            return;
        fields_.emplace_back(at_, static_cast<std::size_t>(place - at_));
        at_ = place + length;
    }
    void Finish() { fields_.emplace_back(at_, static_cast<std::size_t>(end_ - at_)); }

private:
    const char* at_;
    const char* end_;
    OV::StringView separator_;
    OV::Array<OV::StringView>& fields_;
};

}  // namespace

LogText::LogText(OV::String text) : text_(std::move(text))
{
    if (text_.size() > std::numeric_limits<std::uint32_t>::max())
        throw OV::IllegalArgumentException(OV::StringView("A log of 4 GiB cannot be read."));
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
    Cutter cutter(line, separator, fields);
    const char* at = line.data();
    const char* const end = at + line.size();
    if (separator.empty())
        return cutter.Finish();
    const char first = separator.front();
    if (separator.size() == 1) {
        for (; at < end; ++at)
            if (*at == first)
                cutter.Try(at);
        return cutter.Finish();
    }
    const auto cut = [&](const char* block) {
        for (auto marks = MarksOf(block, first, separator[1]); marks != 0; marks &= marks - 1)
            cutter.Try(at + std::countr_zero(marks));
    };
    for (; static_cast<std::size_t>(end - at) > BlockBytes; at += BlockBytes)
        cut(at);
    std::array<char, BlockBytes + 1> rest{};
    if (at < end)
        std::memcpy(rest.data(), at, static_cast<std::size_t>(end - at));
    cut(rest.data());
    cutter.Finish();
}
