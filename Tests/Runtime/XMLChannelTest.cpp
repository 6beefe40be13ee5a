#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"
#include "Support/Pieces.hpp"
#include "Support/Thrown.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using OV::XMLChannelException;
using OV::XMLIChannel;

XMLIChannel OpenRoot(const OV::String& content)
{
    XMLIChannel channel("<Root>" + content + "</Root>", u"f\u00fcr.xml");
    channel.EnterElement("Root");
    return channel;
}

}  // namespace

TEST(XMLChannelTest, AnyStringSurvives)
{
    OV::UniString everything;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        everything.push_back(static_cast<char16_t>(unit));
    auto texts = Pieces(u"| |\n|\t \n |  leading and trailing  |a\r\nb|<![CDATA[x]]>|&#13;&amp;|"
                        u"\\u0041|\\|]]>|<!-- -->");
    texts.insert(texts.end(), {{0xD800}, {0xDC00, 0xD800}, everything});
    OV::XMLOChannel out;
    out.EnterElement("Root");
    for (const auto& text : texts)
        out.WriteString("Text", text);
    out.Write8BitString("Bytes", "k\xc3\xb6");
    out.LeaveElement("Root");

    XMLIChannel in(out.Text(), u"");
    in.EnterElement("Root");
    for (const auto& text : texts)
        EXPECT_EQ(in.ReadString("Text"), text);
    EXPECT_EQ(in.Read8BitString("Bytes"), "k\xc3\xb6");
    EXPECT_EQ(in.PeekName(), "");
    in.LeaveElement("Root");
}

TEST(XMLChannelTest, ReadsNumbersAndFlagsStrictly)
{
    const std::pair<OV::String, bool> int16s[] = {
        {"-32768", true}, {"32767", true},  {"007", true},  {"32768", false}, {"-32769", false},
        {"", false},      {" 1", false},    {"1 ", false},  {"+1", false},    {"1.0", false},
        {"0x1", false},   {"\n1\n", false}, {"1e1", false}, {"<b/>", false},  {"1<!-- -->2", false},
    };
    for (const auto& [text, good] : int16s) {
        auto in = OpenRoot("<V>" + text + "</V>");
        if (good)
            EXPECT_NO_THROW((void)in.ReadInt16("V")) << text;
        else
            EXPECT_THROW((void)in.ReadInt16("V"), XMLChannelException) << text;
    }
    auto in = OpenRoot("<V>65535</V><V>4294967295</V><V>-2147483648</V><V>false</V>");
    EXPECT_EQ(in.ReadUInt16("V"), 65535);
    EXPECT_EQ(in.ReadUInt32("V"), 4294967295u);
    EXPECT_EQ(in.ReadInt32("V"), std::numeric_limits<std::int32_t>::min());
    EXPECT_FALSE(in.ReadBool("V"));
    EXPECT_THROW((void)OpenRoot("<V>65536</V>").ReadUInt16("V"), XMLChannelException);
    EXPECT_THROW((void)OpenRoot("<V>-0</V>").ReadUInt32("V"), XMLChannelException);
    EXPECT_THROW((void)OpenRoot("<V>2147483648</V>").ReadInt32("V"), XMLChannelException);
    for (const OV::String text : {"", "1", "True", " true", "yes"})
        EXPECT_THROW((void)OpenRoot("<V>" + text + "</V>").ReadBool("V"), XMLChannelException)
            << text;
    EXPECT_THROW((void)OpenRoot("<V>\xff</V>").ReadString("V"), XMLChannelException);
    EXPECT_THROW((void)OpenRoot("<V>a<b/></V>").ReadString("V"), XMLChannelException);
}

TEST(XMLChannelTest, ReadsTheFormsThatAnotherWriterMayChoose)
{
    const std::pair<OV::String, OV::UniString> forms[] = {
        {"<V/>", u""},
        {"<V></V>", u""},
        {"<V a='1'> x </V>", u" x "},
        {"<V><![CDATA[a<b&amp;]]></V>", u"a<b&amp;"},
        {"<V>&lt;&gt;&amp;&quot;&apos;&#13;&#x4e2D;</V>", u"<>&\"'\r\u4e2d"},
        {"<V>a\r\nb\rc\n</V>", u"a\nb\nc\n"},
        {"<V>\\u00E9\\u00e9</V>", u"\u00e9\\u00e9"},
        {"<!-- a -->\t<?b c?>\n<V>d</V>", u"d"},
    };
    for (const auto& [text, value] : forms)
        EXPECT_EQ(OpenRoot(text).ReadString("V"), value) << text;
}

TEST(XMLChannelTest, RefusesADocumentThatIsNotOneWholeRoot)
{
    for (const auto& document :
         Pieces("|   |text|<!-- only this -->|<Root>|<Root></Rood>|<Root/><Root/>|<Root/>junk|"
                "junk<Root/>|<Root/></Root>|<Root/>\0|<Root>\0</Root>|<Root/>\0<Other/>|<Root|"
                "<?xml version=\"1.0\"?>|{\"Root\": 1}"))
        EXPECT_THROW(XMLIChannel(document, u"x"), XMLChannelException) << document;
    EXPECT_NO_THROW(XMLIChannel("\xef\xbb\xbf<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                                "<!DOCTYPE Root [<!ENTITY x \"y\">]>\n<!-- a --> <Root a='1'/>\n ",
                                u"x"));
    OV::String deep;
    for (int level = 0; level < 200'000; ++level)
        deep += "<a>";
    EXPECT_THROW(XMLIChannel(deep, u"x"), XMLChannelException) << "and no overflow of the stack";
}

TEST(XMLChannelTest, AFailureSaysWhatWasFoundAndMovesNothing)
{
    auto in = OpenRoot("<!-- comment --><Secret extra='1'>hunter2</Secret><Inner><A>1</A></Inner>");
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(Thrown([&] { (void)in.ReadString("Name"); }).message,
                  "\"f\xc3\xbcr.xml\": \"Name\" expected, \"Secret\" found.");
        const auto message = Thrown([&] { (void)in.ReadInt32("Secret"); }).message;
        EXPECT_THAT(message, testing::HasSubstr("\"Secret\" does not hold a signed 32-bit number"));
        EXPECT_THAT(message, testing::Not(testing::HasSubstr("hunter2")));
        EXPECT_THROW(in.LeaveElement("Root"), XMLChannelException) << "values are left";
    }
    EXPECT_EQ(in.ReadString("Secret"), u"hunter2");
    in.EnterElement("Inner");
    EXPECT_THROW(in.LeaveElement("Inner"), XMLChannelException);
    EXPECT_EQ(in.ReadInt32("A"), 1);
    EXPECT_EQ(Thrown([&] { (void)in.ReadInt32("A"); }).message,
              "\"f\xc3\xbcr.xml\": \"A\" expected, the end of \"Inner\" found.");
    EXPECT_THROW(in.LeaveElement("Root"), XMLChannelException) << "another one is open";
    in.LeaveElement("Inner");
    in.LeaveElement("Root");
    EXPECT_THROW(in.LeaveElement("Root"), XMLChannelException);
    for (const OV::String bare : {"bare", "<![CDATA[bare]]>"})
        EXPECT_THROW((void)OpenRoot(bare + "<A>1</A>").ReadInt32("A"), XMLChannelException);
    EXPECT_EQ(OpenRoot("<A><![CDATA[1]]></A>").ReadInt32("A"), 1);
}

TEST(XMLChannelTest, ARestGoesThroughByteByByte)
{
    const OV::String inner = "<A b='>' c=\"'/>\">x &#13;&amp;<!-- </Inner> --></A>\n  <B/>"
                             "<?p </Inner> ?><C><![CDATA[</Inner>]]><Inner>\r\n</Inner ></C>";
    for (const OV::String& rest :
         {OV::String(), inner, "<?rest?>" + inner, "bare" + inner, "<![CDATA[<]]>" + inner}) {
        XMLIChannel in = OpenRoot("<Inner><Known>1</Known>" + rest + "</Inner><Next>2</Next>");
        in.EnterElement("Inner");
        (void)in.ReadInt32("Known");
        OV::XMLOChannel out;
        out.EnterElement("Root");
        out.EnterElement("Inner");
        out.WriteRest(in.ReadRest());
        out.LeaveElement("Inner");
        in.LeaveElement("Inner");
        out.WriteRest(in.ReadRest());
        out.LeaveElement("Root");
        const auto text = out.Text();
        EXPECT_THAT(text, testing::HasSubstr(rest.starts_with("<?") ? inner : rest));
        EXPECT_THAT(text, testing::HasSubstr("<Next>2</Next>"));
    }
}
