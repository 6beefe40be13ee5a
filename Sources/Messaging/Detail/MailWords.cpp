#include "Messaging/Detail/MailWords.hpp"

#include <iterator>

namespace SYC {

namespace {

template <class Enum>
struct Word {
    Enum value;
    OV::UniStringView text;
};

// The first row of each table is the fallback, for writing and for reading.
constexpr Word<MailType> TypeWords[] = {
    {MailType::None, u"NULL"},
    {MailType::Normal, u"NORMAL"},
    {MailType::Request, u"REQUEST"},
    {MailType::RequestAccepted, u"REQUESTACCEPTED"},
    {MailType::RequestDenied, u"REQUESTDENIED"},
    {MailType::RequestRevoked, u"REQUESTREVOKED"},
};
constexpr Word<Importance> ImportanceWords[] = {
    {Importance::Low, u"LOW"},
    {Importance::Medium, u"MEDIUM"},
    {Importance::High, u"HIGH"},
};

template <class Rows, class Matches>
const auto& FindOrFirst(const Rows& rows, Matches&& matches) noexcept
{
    for (const auto& row : rows)
        if (matches(row))
            return row;
    return *std::begin(rows);
}

template <class Rows>
auto FromNumber(const Rows& rows, std::int32_t number) noexcept
{
    return FindOrFirst(
               rows,
               [=](const auto& row) { return static_cast<std::int32_t>(row.value) == number; })
        .value;
}

template <class Rows>
auto FromWord(const Rows& rows, OV::UniStringView word) noexcept
{
    return FindOrFirst(rows, [=](const auto& row) { return row.text == word; }).value;
}

template <class Rows, class Enum>
OV::UniStringView ToWord(const Rows& rows, Enum value) noexcept
{
    return FindOrFirst(rows, [=](const auto& row) { return row.value == value; }).text;
}

}  // namespace

MailType MailTypeFromNumber(std::int32_t number) noexcept
{
    return FromNumber(TypeWords, number);
}

OV::UniStringView ToWireWord(MailType type) noexcept
{
    return ToWord(TypeWords, type);
}

MailType MailTypeFromWireWord(OV::UniStringView word) noexcept
{
    return FromWord(TypeWords, word);
}

Importance ImportanceFromNumber(std::int32_t number) noexcept
{
    return FromNumber(ImportanceWords, number);
}

OV::UniStringView ToWireWord(Importance importance) noexcept
{
    return ToWord(ImportanceWords, importance);
}

Importance ImportanceFromWireWord(OV::UniStringView word) noexcept
{
    return FromWord(ImportanceWords, word);
}

}  // namespace SYC
