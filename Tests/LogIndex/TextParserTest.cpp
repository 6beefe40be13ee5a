#include "LogIndex/TextParser.hpp"
#include "LogIndex/CompositeStringIndex.hpp"
#include "OVRoot/Thread.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using Fields = std::vector<std::string>;

Fields Split(OV::StringView line, OV::StringView separator)
{
    OV::Array<OV::StringView> views;
    SYC::LogText::Split(line, separator, views);
    return {views.begin(), views.end()};
}

/// The rule as it is written down.
Fields SplitLiterally(const std::string& line, const std::string& separator)
{
    Fields fields;
    std::size_t cut = 0;
    for (auto at = line.find(separator); at != std::string::npos; at = line.find(separator, cut)) {
        fields.push_back(line.substr(cut, at - cut));
        cut = at + separator.size();
    }
    fields.push_back(line.substr(cut));
    return fields;
}

Fields Texts(const OV::Array<OV::Ref<OV::Object>>& fields)
{
    Fields texts;
    for (const auto& field : fields)
        texts.push_back(OV::ToUtf8(dynamic_cast<const OV::UniStringObject&>(*field).Get()));
    return texts;
}

}  // namespace

TEST(TextParserTest, LinesEndWithLineFeedsAndEmptyOnesAreNone)
{
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"x\n\n\ny\n", {"x", "y"}}, {"", {}},          {"\n\n", {}}, {"cut off", {}},
        {"\na\nb", {"a"}},          {"a\r\n", {"a\r"}}};
    for (const auto& [text, lines] : cases) {
        const SYC::LogText log{std::string(text)};
        ASSERT_EQ(log.GetLineCount(), lines.size()) << text;
        for (std::uint32_t line = 0; line < lines.size(); ++line)
            EXPECT_EQ(log.GetLine(line), lines[line]);
    }
}

TEST(TextParserTest, SeparatorsCutWhereverTheyStand)
{
    EXPECT_EQ(Split("a#!b#!#!c", "#!"), (Fields{"a", "b", "", "c"}));
    EXPECT_EQ(Split("one", "#!"), Fields{"one"});
    using namespace std::string_literals;
    std::mt19937 random(5);
    for (int round = 0; round < 4000; ++round) {
        std::string line;
        for (auto length = random() % 24; length > 0; --length)
            line += "#!a\0"s[random() % 4];
        for (const auto& separator : {"#!"s, "#"s, "##"s, "!#!"s, "\0"s, "\0\0"s, "\0\0\0"s})
            ASSERT_EQ(Split(line, separator), SplitLiterally(line, separator)) << line;
    }
}

TEST(TextParserTest, LinesAreReadInTurnOrByRows)
{
    TextParser parser({}, LogType::Project);
    OV::Array<OV::Ref<OV::Object>> fields;
    EXPECT_EQ(parser.ParseLine(fields, nullptr), -7003);
    parser.SetText("1;anna\n2;zoe\n3;mei\n", ";");
    ASSERT_EQ(parser.ParseLine(fields, nullptr), 0);
    EXPECT_EQ(Texts(fields), (Fields{"1", "anna"}));
    const OV::StableArray<std::uint32_t> rows{2, 0, 9};
    ASSERT_EQ(parser.ParseLine(fields, &rows), 0);
    EXPECT_EQ(Texts(fields), (Fields{"3", "mei"}));
    EXPECT_EQ(parser.GetCurrentLine(), 2u);
    ASSERT_EQ(parser.ParseLine(fields, &rows), 0);
    EXPECT_EQ(parser.ParseLine(fields, &rows), -7003) << "there is no line 9";
    EXPECT_EQ(parser.ParseLine(fields, &rows), -7003) << "and no row more";
    parser.SetStartLine(1);
    ASSERT_EQ(parser.ParseLine(fields, nullptr), 0);
    EXPECT_EQ(Texts(fields), (Fields{"2", "zoe"}));
}

TEST(TextParserTest, ALogFillsItsIndexesAndAFilterNarrowsThem)
{
    TextParser parser({}, LogType::Project);
    parser.AddIndex(new StringIndex(1), true);
    parser.AddIndex(new CompositeStringIndex({1, 2}), false);
    parser.AddIndex(new StringIndex(7), false);
    parser.SetText("1#!zoe#!Send\n2#!anna#!Join\n3#!zoe#!Join\n", "#!");
    for (int twice = 0; twice < 2; ++twice)
        parser.ParseLog();
    auto* users = static_cast<StringIndex*>(parser.GetDefaultIndex());
    EXPECT_EQ(users, parser.GetIndex(0));
    EXPECT_EQ(users->GetUniqueKeys(), (OV::Array<OV::UniString>{u"anna", u"zoe"}));
    EXPECT_EQ(users->GetData(true), (OV::StableArray<std::uint32_t>{1, 0, 2}));
    EXPECT_EQ(static_cast<const StringIndex*>(parser.GetIndex(1))->GetUniqueKeys().front(),
              u"anna/Join/");
    EXPECT_EQ(static_cast<const StringIndex*>(parser.GetIndex(2))->GetUniqueKeys(),
              OV::Array<OV::UniString>{u""})
        << "lines without the column";
    parser.SetFilter(u"Join");
    EXPECT_EQ(users->GetData(false), (OV::StableArray<std::uint32_t>{2, 1}));
    parser.ResetFilter();
    EXPECT_EQ(users->GetData(true).size(), 3u);
    std::stop_source stopped;
    stopped.request_stop();
    {
        const OV::InterruptionScope scope(stopped.get_token());
        parser.ParseLog();
        EXPECT_EQ(users->GetSize(), 0u) << "it stops at once";
        OV::Array<OV::Ref<OV::Object>> fields;
        EXPECT_EQ(parser.ParseLine(fields, nullptr), 0);
        EXPECT_EQ(Texts(fields).at(0), "2") << "where it is";
    }
    EXPECT_EQ(parser.GetIndex(3), nullptr);
    parser.DropIndices();
    EXPECT_EQ(parser.GetIndex(0), nullptr);
    EXPECT_EQ(parser.GetDefaultIndex(), nullptr);
}
