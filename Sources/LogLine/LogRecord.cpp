#include "LogLine/LogRecord.hpp"

#include <bit>
#include <cstring>

namespace SYC {

namespace {

template <class Number>
Number FromLittleEndian(Number value) noexcept
{
    if constexpr (std::endian::native == std::endian::little || sizeof(Number) == 1)
        return value;
    Number swapped = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        swapped = static_cast<Number>(swapped << 8 | (value >> 8 * i & 0xFF));
    return swapped;
}

/// What is left of the bytes, and whether everything so far was there.
class Cursor {
public:
    explicit Cursor(OV::StringView bytes) noexcept
        : at_(bytes.data()), end_(bytes.data() + bytes.size())
    {}

    void Take(OV::StringView& text) noexcept
    {
        std::uint32_t count = 0;
        Take(count);
        if (static_cast<std::size_t>(end_ - at_) < count)
            return Fail();
        text = {at_, count};
        at_ += count;
    }
    template <class Number>
    void Take(Number& number) noexcept
    {
        if (static_cast<std::size_t>(end_ - at_) < sizeof(Number))
            return Fail();
        std::memcpy(&number, at_, sizeof(Number));
        number = FromLittleEndian(number);
        at_ += sizeof(Number);
    }
    [[nodiscard]] bool IsGood() const noexcept { return isGood_; }
    [[nodiscard]] const char* Position() const noexcept { return at_; }

private:
    void Fail() noexcept
    {
        isGood_ = false;
        at_ = end_;
    }

    const char* at_;
    const char* end_;
    bool isGood_ = true;
};

template <class Number>
void Append(OV::String& bytes, Number number)
{
    number = FromLittleEndian(number);
    char raw[sizeof(Number)];
    std::memcpy(raw, &number, sizeof(Number));
    bytes.append(raw, sizeof(Number));
}

void Append(OV::String& bytes, OV::StringView text)
{
    Append(bytes, static_cast<std::uint32_t>(text.size()));
    bytes.append(text);
}

}  // namespace

std::size_t LogRecord::Parse(OV::StringView bytes) noexcept
{
    Cursor cursor(bytes);
    for (OV::StringView* text : {&user, &loginName, &duration, &operation, &project, &projectId})
        cursor.Take(*text);
    cursor.Take(sizeVal);
    cursor.Take(timeVal);
    cursor.Take(comment);
    cursor.Take(version);
    return cursor.IsGood() ? static_cast<std::size_t>(cursor.Position() - bytes.data()) : 0;
}

void LogRecord::AppendTo(OV::String& bytes) const
{
    for (const OV::StringView text : {user, loginName, duration, operation, project, projectId})
        Append(bytes, text);
    Append(bytes, sizeVal);
    Append(bytes, timeVal);
    Append(bytes, comment);
    Append(bytes, version);
}

}  // namespace SYC
