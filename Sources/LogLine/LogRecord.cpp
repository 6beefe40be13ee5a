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
char* Put(char* at, Number number) noexcept
{
    number = FromLittleEndian(number);
    std::memcpy(at, &number, sizeof(Number));
    return at + sizeof(Number);
}

char* Put(char* at, OV::StringView text) noexcept
{
    at = Put(at, static_cast<std::uint32_t>(text.size()));
    if (!text.empty())
        std::memcpy(at, text.data(), text.size());
    return at + text.size();
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
    const std::size_t before = bytes.size();
    bytes.resize(before + Size());
    char* at = bytes.data() + before;
    for (const OV::StringView text : {user, loginName, duration, operation, project, projectId})
        at = Put(at, text);
    at = Put(at, sizeVal);
    at = Put(at, timeVal);
    at = Put(at, comment);
    Put(at, version);
}

}  // namespace SYC
