#include "LogDataLine.hpp"
#include "Log/LogLineReader.hpp"
#include "LogLine/ActionNameTranslator.hpp"
#include "LogLine/Detail/LogBlockWriter.hpp"
#include "ManagementTool/UserUtils.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/LocalTime.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "OVRoot/Resources.hpp"
#include "Support/ManualClock.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using Field = LogDataLine::LogField;

LogDataLine Filled()
{
    LogDataLine line;
    line.SetUser(u"Zo\u00EB \U0001F44D");
    line.SetLoginName(OV::UniString(u"z") + char16_t(0xD801));  // a lone surrogate survives
    line.SetTime(u" 1700000000 ");
    line.SetDuration(u"12");
    line.SetSize(u"1536000");
    line.SetOperation(u"Put Object");
    line.SetProject(u"Bridge");
    line.SetProjectId(u"p-1");
    line.SetComment(u"two\nlines");
    line.SetVersion(14);
    return line;
}

}  // namespace

TEST(LogDataLineTest, SizesAreShownInGroupsWithoutThoseOfZeros)
{
    const struct {
        const char16_t* bytes;
        const char16_t* shown;
    } cases[] = {
        {u"0", u""},
        {u"1023", u"1 KB"},
        {u"1024", u"1 KB"},
        {u"1536000", u"1 500 KB"},
        {u"1029120", u"1 005 KB"},
        {u"1024000000", u"1000 KB"},   // the highest group that is not cut
        {u"1024001024", u"1 001 KB"},  // and the lowest that is, its middle of zeros left out
        {u"4294967295", u"4 194 303 KB"},
        {u"99999999999999999999", u"4 194 303 KB"},  // what does not fit is the most that does
        {u"none", u""},
    };
    for (const auto& each : cases) {
        LogDataLine line;
        line.SetSize(each.bytes);
        EXPECT_EQ(OV::ToUtf8(line.GetSize()), OV::ToUtf8(each.shown)) << OV::ToUtf8(each.bytes);
    }
}

TEST(LogDataLineTest, TextsAreDerivedFromWhatIsSet)
{
    const ManualClock clock;
    const LogDataLine line = Filled();
    EXPECT_EQ(line.GetTime(), u" 1700000000 ");
    EXPECT_EQ(line.GetTimeVal(), 1'700'000'000);
    EXPECT_EQ(line.GetTimeString(), OV::FormatLocalTime(1'700'000'000));
    EXPECT_EQ(line.GetDuration(), u"12s");
    EXPECT_EQ(line.GetOperation(), u"Put Object");
    EXPECT_EQ(line.GetOperationText(), u"Send");
    EXPECT_EQ(line.GetIcon().GetWidth(), 16);
    LogDataLine other;
    for (const auto& text : {other.GetTime(), other.GetTimeString(), other.GetDuration()})
        EXPECT_EQ(text, u"") << "nothing was set";
    other.SetDuration(u"");
    other.SetOperation(u"send");
    other.SetTime(u"soon");
    EXPECT_EQ(other.GetDuration(), u"0s");
    EXPECT_EQ(other.GetOperationText(), u"send");
    EXPECT_FALSE(other.HasIcon());
    EXPECT_TRUE(other.GetIcon().IsEmpty());
    EXPECT_EQ(other.GetTimeVal(), 0);
    EXPECT_EQ(other.GetTime(), u"soon");

    // Set one by one and read from a log, times are the same: as they arrived, and what they say.
    const std::pair<const char*, std::int32_t> times[] = {
        {"", 0},       {" 100", 100}, {"+5x", 5},
        {"0123", 123}, {"-7", -7},    {"2147483648", 2'147'483'647},
        {"- 7", 0},    {"7", 7},      {"-99999999999999999999", -2'147'483'647 - 1}};
    for (const auto& [text, number] : times) {
        LogDataLine set;
        set.SetTime(OV::FromUtf8(text));
        const auto read =
            SYC::ReadLogLines({text + std::string("#!u#!a#!+1024#!\n"), "#!", 0, 0}, {});
        for (const LogDataLine& each : {set, read.at(0)}) {
            EXPECT_EQ(OV::ToUtf8(each.GetTime()), text);
            EXPECT_EQ(each.GetTimeVal(), number) << text;
        }
        EXPECT_EQ(read[0].GetSizeVal(), 1024u);
    }
    other.SetTime(u"");
    EXPECT_EQ(other.GetTime(), u"");

    const std::pair<int, const char16_t*> ages[] = {
        {-50, u"0 minutes ago"},   {59, u"0 minutes ago"},   {60, u"1 minute ago"},
        {3599, u"59 minutes ago"}, {3600, u"1 hour ago"},    {86'399, u"23 hours ago"},
        {86'400, u"1 day ago"},    {604'799, u"6 days ago"}, {604'800, u"1 week ago"},
        {999'999, u"1 week ago"}};
    for (const auto& [age, text] : ages)
        EXPECT_EQ(
            Syncra::Server::ManagementTool::Core::UserUtils::GetLastActivityText(1'000'000 - age),
            text);
}

TEST(LogDataLineTest, ActionsHaveTheirTextsAndPictures)
{
    const auto& translator = ActionNameTranslator::GetInstance();
    const struct {
        const char16_t* name;
        const char16_t* shown;
        int icon;
    } actions[] = {
        {u"PartialGet", u"Receive Info", 1503},
        {u"Project Restore", u"Rollback", 1507},
        {u"Login", u"Join", 1504},
        {u"Lock", u"Reserve", 1510},
        {u"Put Object", u"Send", 1500},
        {u"Comment", u"Comment", 1511},
    };
    for (const auto& each : actions) {
        EXPECT_EQ(OV::GetStringListItem(32180, translator.GetTextResID(each.name)), each.shown);
        EXPECT_EQ(translator.GetIconResID(each.name), each.icon);
        EXPECT_FALSE(OV::GetPictureResource(each.icon).empty());
    }
}

TEST(LogDataLineTest, AssignmentLeavesTheVersionAndCopiesAreTheirOwn)
{
    LogDataLine newer = Filled(), older = Filled();
    older.SetVersion(13);
    older.SetUser(u"anna");
    EXPECT_TRUE(older != newer);
    older = newer;
    EXPECT_EQ(older.GetVersion(), 13);
    EXPECT_EQ(older.GetId(), newer.GetId());
    EXPECT_TRUE(older != newer) << "only the version differs";
    older.SetVersion(14);
    EXPECT_FALSE(older != newer);
    older.SetComment(u"mine");
    EXPECT_EQ(newer.GetComment(), u"two\nlines");
    older = std::move(newer);
    EXPECT_EQ(older.GetComment(), u"two\nlines");
    const LogDataLine taken = std::move(older);
    EXPECT_EQ(taken.GetComment(), u"two\nlines");
    older.SetUser(u"again");
    EXPECT_EQ(older.GetUser(), u"again") << "a line that was moved from is an empty one";
    EXPECT_EQ(older.GetSizeVal(), 0u);
}

TEST(LogDataLineTest, IsComparedByOneFieldAtATime)
{
    const auto with = [](auto set, const char16_t* text) {
        LogDataLine line;
        (line.*set)(text);
        return line;
    };
    const auto less = [](const LogDataLine& a, const LogDataLine& b, Field field) {
        EXPECT_FALSE(LogDataLine::Compare(b, a, field));
        return LogDataLine::Compare(a, b, field);
    };
    const LogDataLine first, second;
    EXPECT_TRUE(less(first, second, Field::Time)) << "in the order in which they were made";
    EXPECT_FALSE(less(first, second, static_cast<Field>(99)));
    EXPECT_TRUE(
        less(with(&LogDataLine::SetTime, u"-5"), with(&LogDataLine::SetTime, u"3"), Field::Time));
    EXPECT_TRUE(less(with(&LogDataLine::SetDuration, u"10"), with(&LogDataLine::SetDuration, u"9"),
                     Field::Duration));
    EXPECT_TRUE(less(with(&LogDataLine::SetSize, u"9"), with(&LogDataLine::SetSize, u"3000000000"),
                     Field::Size));
    EXPECT_TRUE(less(with(&LogDataLine::SetOperation, u"Logout"),
                     with(&LogDataLine::SetOperation, u"Send"), Field::Operation))
        << "\"Leave\" before \"Send\"";
    // Where the order of the code units is not that of their UTF-8 bytes, and where it is.
    const OV::UniString ordered[] = {u"",       u"a",          u"ab",     u"b",     u"\u00E9",
                                     u"\uD7FF", u"\U00010000", u"\uE000", u"\uFFFF"};
    for (std::size_t i = 0; i < std::size(ordered); ++i)
        for (std::size_t j = i; j < std::size(ordered); ++j)
            EXPECT_EQ(less(with(&LogDataLine::SetUser, ordered[i].c_str()),
                           with(&LogDataLine::SetUser, ordered[j].c_str()), Field::User),
                      i < j)
                << i << ' ' << j;
}

TEST(LogDataLineTest, TheRecordHoldsExactlyItsBytesAndComesBack)
{
    LogDataLine line;
    line.SetUser(u"\u00E9");
    line.SetDuration(u"1");
    line.SetProjectId(u"p");
    line.SetSize(u"258");
    line.SetTime(u"-2");
    line.SetComment(u"c");
    line.SetVersion(14);
    OV::MemoryOChannel channel;
    ASSERT_EQ(line.Write(channel), 0);
    using namespace std::string_literals;
    EXPECT_EQ(channel.Bytes(), "\2\0\0\0\xC3\xA9\0\0\0\0\2\0\0\0001s\0\0\0\0\0\0\0\0\1\0\0\0p"
                               "\2\1\0\0\xFE\xFF\xFF\xFF\1\0\0\0c\x0E\0"s);

    OV::MemoryOChannel filled;
    ASSERT_EQ(Filled().Write(filled), 0);
    LogDataLine back;
    OV::MemoryIChannel input(filled.Bytes());
    ASSERT_EQ(back.Read(input), 0);
    LogDataLine expected = Filled();
    expected.SetTime(u"1700000000");
    EXPECT_FALSE(back != expected) << "the time is as its number is written";

    for (std::size_t length = 0; length < filled.Bytes().size(); ++length) {
        LogDataLine cut;
        OV::MemoryIChannel part(OV::StringView(filled.Bytes()).substr(0, length));
        ASSERT_EQ(cut.Read(part), -7003) << length;
        ASSERT_TRUE(expected.GetProject().starts_with(cut.GetProject()));
    }
    LogDataLine early;
    OV::MemoryIChannel text("\xFF\xFF\xFF\xFFonly this");
    EXPECT_EQ(early.Read(text), -7003);
    EXPECT_EQ(early.GetUser(), u"only this") << "as far as it came";
}

TEST(LogDataLineTest, LinesThatShareABlockAreThoseThatWerePutThere)
{
    std::mt19937 random(5);
    // The second puts them into large pieces of memory, of which one line takes more than a whole.
    const std::size_t expected[] = {300'000, 8'000'000};
    for (const std::size_t bytes : expected) {
        SYC::Detail::LogBlockWriter writer(bytes);
        std::vector<std::pair<LogDataLine, OV::String>> lines;
        const OV::String text(3'000'000, '\xE4');
        for (int i = 0; i < 3000; ++i) {
            const auto any = [&](std::size_t most) {
                return OV::StringView(text).substr(0, random() % 20 > 0 ? random() % 20
                                                                        : random() % most);
            };
            const SYC::LogRecord record{any(300),
                                        any(60'000),
                                        any(200),
                                        any(200),
                                        any(i % 100 < 9 ? 300 : 2),
                                        any(i % 100 < 9 ? 300 : 2),
                                        static_cast<std::uint32_t>(random()),
                                        static_cast<std::int32_t>(random()),
                                        i == 1000 ? OV::StringView(text) : any(40),
                                        static_cast<std::int16_t>(random())};
            const OV::StringView time = any(30);
            const bool hasOwnTime = i % 7 == 0;
            const LogDataLine line(writer.Add(record, hasOwnTime ? &time : nullptr), record,
                                   hasOwnTime);
            ASSERT_EQ(line.GetTime(), hasOwnTime ? OV::FromUtf8(time) : OV::ToText(record.timeVal));
            ASSERT_TRUE(lines.empty() || lines.back().first.GetId() < line.GetId());
            record.AppendTo(lines.emplace_back(line, OV::String()).second);
        }
        for (const auto& [line, written] : lines) {
            OV::String again;
            line.AppendRecord(again);
            ASSERT_EQ(again, written);
        }
    }
}
