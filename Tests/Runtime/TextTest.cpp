#include "OVRoot/Exception.hpp"
#include "OVRoot/Format.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Resources.hpp"
#include "OVRoot/Terminal.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <set>

TEST(FormatTest, ReplacesPlaceholdersInOrderWhateverTheirType)
{
    using OV::FormatText;
    EXPECT_EQ(FormatText(u"%s: %ls, %d of %u on %hu", {"\xc3\xa9", u"\u4e2d", -1, 2u, 8080}),
              u"\u00e9: \u4e2d, -1 of 2 on 8080");
    EXPECT_EQ(FormatText(u"%, %", {u"%s", std::numeric_limits<std::int64_t>::min()}),
              u"%s, -9223372036854775808")
        << "what is put in is not looked at again";
    EXPECT_EQ(FormatText(u"100%% %x%l%", {1, 2, 3}), u"100% 1x2l3");
    EXPECT_EQ(FormatText(u"%s and %hu", {u"one"}), u"one and %hu") << "too few";
    EXPECT_EQ(FormatText(u"none", {u"one"}), u"none") << "too many";
}

TEST(GuidTest, ReadsWhatItWritesAndNothingElse)
{
    const OV::UniString text = u"01234567-89AB-CDEF-0123-456789ABCDEF";
    EXPECT_EQ(OV::Guid::Parse(text).ToText(), text);
    EXPECT_EQ(OV::Guid::Parse(text).Bytes()[7], 0xEF);
    EXPECT_EQ(OV::Guid::Parse(u"01234567-89ab-cdef-0123-456789abcdef"), OV::Guid::Parse(text));
    for (const OV::UniString wrong :
         {u"", u"0123456789ABCDEF0123456789ABCDEF", u"{01234567-89AB-CDEF-0123-456789ABCDEF}",
          u"01234567-89AB-CDEF-0123-456789ABCDE", u"01234567-89AB-CDEF-0123-456789ABCDEFF",
          u"01234567-89AB-CDEF-0123-456789ABCDEG", u"0123456789-AB-CDEF-0123-456789ABCDEF",
          u"01234567-89AB-CDEF-0123-456789ABCD\u0145F"})
        EXPECT_THROW((void)OV::Guid::Parse(wrong), OV::IllegalArgumentException)
            << OV::ToUtf8(wrong);
    std::set<OV::Guid> made;
    for (int i = 0; i < 1000; ++i)
        made.insert(OV::Guid::Generate());
    EXPECT_EQ(made.size(), 1000u);
    EXPECT_EQ(made.begin()->ToText()[14], u'4') << "version";
}

TEST(ResourcesTest, KeepsTextsToTheLetterAndReportsUnknownNumbers)
{
    EXPECT_EQ(OV::GetStringListItem(31022, 8), u" (Offline)") << "with its leading blank";
    EXPECT_EQ(OV::GetStringListItem(31022, 13), u"unsent changes");
    for (const auto& [list, index] :
         {std::pair{31022, 0}, {31022, -1}, {31022, 14}, {1, 1}, {32100, 25}})
        EXPECT_THROW((void)OV::GetStringListItem(list, index), OV::IllegalReferenceException);
    EXPECT_THROW(OV::ShowAlert(1), OV::IllegalReferenceException);
}

TEST(TerminalTest, CountsAndCutsColumnsAsATerminalDoes)
{
    const struct {
        const char* text;
        std::size_t width;
        const char* cutToThree;
    } rows[] = {
        {"", 0, ""},
        {"abcd", 4, "abc"},
        {"田中 雪", 7, "田"},
        {"e\u0301te\u0301", 3, "e\u0301te\u0301"},
        {"👍👍", 4, "👍"},
        {"שלום", 4, "שלו"},
        {"a\xff\xfe", 1, "a\xff\xfe"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(OV::Terminal::Width(row.text), row.width) << row.text;
        EXPECT_EQ(OV::Terminal::CutToWidth(row.text, 3), row.cutToThree) << row.text;
    }
}
