#include "OVRoot/UniString.hpp"

#include <gtest/gtest.h>

namespace {

using OV::UniString;

struct Pair {
    UniString units;
    OV::String bytes;
};

}  // namespace

TEST(UniStringTest, ConvertsBothWaysExactly)
{
    const Pair pairs[] = {
        {u"", ""},
        {UniString(3, u'\0'), OV::String(3, '\0')},
        {u"\x7f\x80\u07ff\u0800\uffff", "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf"},
        {u"\U00010000\U0010ffff", "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"},
        {{0xD800}, "\xed\xa0\x80"},
        {{0xDFFF, u'a'},
         "\xed\xbf\xbf"
         "a"},
        // The blocks of plain ASCII must end exactly where something else begins.
        {UniString(15, u'a') + u"\u00e9" + UniString(17, u'b'),
         OV::String(15, 'a') + "\xc3\xa9" + OV::String(17, 'b')},
        {UniString(16, u'a') + u"\u00e9", OV::String(16, 'a') + "\xc3\xa9"},
    };
    for (const auto& [units, bytes] : pairs) {
        EXPECT_EQ(OV::ToUtf8(units), bytes);
        EXPECT_EQ(OV::FromUtf8(bytes), units) << bytes;
        EXPECT_TRUE(OV::IsWellFormedUtf8(bytes)) << bytes;
    }
}

TEST(UniStringTest, ReplacesEachMalformedByteAndGoesOn)
{
    const Pair pairs[] = {
        {u"a\uFFFDb", "a\x80"
                      "b"},
        {u"\uFFFD\uFFFD", "\xc0\x80"},                      // overlong
        {u"\uFFFD\uFFFD", "\xc1\xbf"},                      //
        {u"\uFFFD\uFFFD\uFFFD", "\xe0\x9f\xbf"},            //
        {u"\uFFFD\uFFFD\uFFFD\uFFFD", "\xf0\x8f\xbf\xbf"},  //
        {u"\uFFFD\uFFFD\uFFFD\uFFFD", "\xf4\x90\x80\x80"},  // above U+10FFFF
        {u"\uFFFD\uFFFD", "\xfe\xff"},
        {u"\uFFFD", "\xc3"},  // cut short
        {u"\uFFFD\uFFFD", "\xe4\xb8"},
        {u"\uFFFD\uFFFD\uFFFD", "\xf0\x9f\x98"},
        {u"\uFFFDa", "\xc3"
                     "a"},  // the next character is not swallowed
        {u"\uFFFD\uFFFD\u00e9", "\xe4\xb8\xc3\xa9"},
    };
    for (const auto& [units, bytes] : pairs) {
        EXPECT_EQ(OV::FromUtf8(bytes), units) << testing::PrintToString(bytes);
        EXPECT_FALSE(OV::IsWellFormedUtf8(bytes)) << testing::PrintToString(bytes);
    }
}

TEST(UniStringTest, EscapesForACarrierWhatItWouldLose)
{
    const std::pair<UniString, UniString> pairs[] = {
        {u"C:\\temp\\new \u4e2d \U0001F600\t\n", u"C:\\temp\\new \u4e2d \U0001F600\t\n"},
        {u"C:\\users", u"C:\\u005Cusers"},
        {u"\\\\u", u"\\\\u005Cu"},
        {u"a\rb", u"a\\u000Db"},
        {{u'\0', 0x1B, 0x7F, 0x85}, u"\\u0000\\u001B\\u007F\\u0085"},
        {{0xD800, 0xD800, 0xDC00, 0xDC00}, u"\\uD800\U00010000\\uDC00"},
        {{0xFFFD, 0xFFFE, 0xFFFF}, u"\uFFFD\\uFFFE\\uFFFF"},
    };
    for (const auto& [text, escaped] : pairs) {
        EXPECT_EQ(OV::EscapeForCarrier(text), escaped);
        EXPECT_EQ(OV::UnescapeFromCarrier(escaped), text);
    }
    for (const UniString text : {u"\\u", u"\\u123", u"\\u00G0", u"\\u00e9", u"\\"})
        EXPECT_EQ(OV::UnescapeFromCarrier(text), text) << "no escape of ours";
}
