#include "IO/Location.hpp"
#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Exception.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using IO::Location;
using OV::UniString;
using OV::UniStringView;

/// Texts made of what the coding treats apart: separators, percent signs, surrogates, non-ASCII.
class RandomTexts {
public:
    UniString Next(std::size_t least)
    {
        static constexpr UniStringView special = u"/:@%?#[]. +~\\aZ09\u00e9\u4e2d\xD83D\xDE00";
        UniString text(least + random_() % 8, u' ');
        for (auto& unit : text)
            unit = random_() % 5 == 0 ? static_cast<char16_t>(1 + random_() % 0xFFFE)
                                      : special[random_() % special.size()];
        return text;
    }
    std::uint32_t Number(std::uint32_t below) { return random_() % below; }

private:
    std::mt19937 random_{20261124};
};

}  // namespace

TEST(LocationTest, ReadsPathsAndWritesThemBack)
{
    struct Case {
        UniStringView path;
        UniStringView text;
        std::size_t components;
        bool isLegal;
    };
    const Case cases[] = {
        {u"/a/b", u"/a/b", 2, true},     {u"//a/./b//", u"/a/b", 2, true},
        {u"a/../b", u"a/../b", 3, true}, {u"/", u"/", 0, true},
        {u".", u".", 0, false},          {u"", u"", 0, false},
        {u" ", u" ", 1, true},           {u"100%25", u"100%25", 1, true},
        {u"C:\\x", u"C:\\x", 1, true},   {{u"/a\0b", 4}, {u"/a\0b", 4}, 1, false},
    };
    for (const auto& [path, text, components, isLegal] : cases) {
        const auto location = Location::FromPath(path);
        EXPECT_EQ(location.ToPath(), text);
        EXPECT_EQ(location.GetComponents().size(), components) << OV::ToUtf8(path);
        EXPECT_EQ(location.IsLegal(), isLegal) << OV::ToUtf8(path);
    }
    EXPECT_EQ(Location::FromPath(u"/").Parent(), Location::FromPath(u"/"));
    EXPECT_FALSE(Location::FromPath(u"a") == Location::FromPath(u"/a"));
    EXPECT_FALSE(Location::FromPath(u"/a").Appended(u"b/c").IsLegal());
    EXPECT_FALSE(Location::FromPath(u"/a").Appended(u"").IsLegal());
}

TEST(LocationTest, ReadsWhatAUrlSays)
{
    struct Case {
        UniStringView url;
        UniStringView user, password, host;
        std::uint16_t port;
        std::vector<UniString> components;
        UniStringView again;  ///< as it is written
    };
    const Case cases[] = {
        {u"syncra://host", u"", u"", u"host", 0, {}, u"syncra://host"},
        {u"syncra://host/", u"", u"", u"host", 0, {}, u"syncra://host"},
        {u"syncra://host:65535/a/", u"", u"", u"host", 65535, {u"a"}, u"syncra://host:65535/a"},
        {u"a+b-c.1://host:", u"", u"", u"host", 0, {}, u"a+b-c.1://host"},
        {u"syncra://u:p@h:1/x", u"u", u"p", u"h", 1, {u"x"}, u"syncra://u:p@h:1/x"},
        {u"syncra://u:@h", u"u", u"", u"h", 0, {}, u"syncra://u@h"},
        {u"syncra://:p@h", u"", u"p", u"h", 0, {}, u"syncra://:p@h"},
        {u"syncra://a%40b:c%3A%2f@h", u"a@b", u"c:/", u"h", 0, {}, u"syncra://a%40b:c%3A%2F@h"},
        {u"syncra://a@b:c:d@h", u"a@b", u"c:d", u"h", 0, {}, u"syncra://a%40b:c%3Ad@h"},
        {u"syncra://[::1]:80/x", u"", u"", u"::1", 80, {u"x"}, u"syncra://[::1]:80/x"},
        {u"syncra://h/%E4%B8%AD%2F\u4e2d%20",
         u"",
         u"",
         u"h",
         0,
         {u"\u4e2d/\u4e2d "},
         u"syncra://h/%E4%B8%AD%2F%E4%B8%AD%20"},
    };
    for (const auto& [url, user, password, host, port, components, again] : cases) {
        const auto text = OV::ToUtf8(url);
        const auto location = Location::FromUrlText(url);
        EXPECT_EQ(location.GetUserName(), user) << text;
        EXPECT_EQ(location.GetPassword(), password) << text;
        EXPECT_EQ(location.GetHost(), host) << text;
        EXPECT_EQ(location.GetPort(), port) << text;
        EXPECT_EQ(location.GetComponents(), components) << text;
        EXPECT_EQ(location.ToUrlText(), again) << text;
        EXPECT_TRUE(location.IsLegal()) << text;
    }
    EXPECT_FALSE(Location::FromUrlText(u"syncra://h/a//b").IsLegal());
    EXPECT_FALSE(Location::FromUrlText(u"syncra://h/%00").IsLegal());
    EXPECT_FALSE(Location::FromUrlText(u"syncra://good%00.evil/x").IsLegal())
        << "what reads it as a C string would see another host";
}

TEST(LocationTest, RefusesWhatIsNoUrlWithoutRepeatingIt)
{
    for (const UniStringView url : {u"",
                                    u"host",
                                    u"host:80",
                                    u"://host",
                                    u"1a://host",
                                    u"a b://host",
                                    u"s:/host",
                                    u"s://",
                                    u"s:///path",
                                    u"s://secret@",
                                    u"s://u:secret@:80",
                                    u"s://u:secret@h:65536",
                                    u"s://u:secret@h:-1",
                                    u"s://h:80x",
                                    u"s://h: 80",
                                    u"s://u:secret@[::1",
                                    u"s://[]",
                                    u"s://[::1]80",
                                    u"s://h/%",
                                    u"s://h/%4",
                                    u"s://h/%4g",
                                    u"s://u:secret%g@h",
                                    u"s://h/%C3",
                                    u"s://h/%FF",
                                    u"s://h/%C0%80",
                                    u"\u00e9://h"}) {
        try {
            (void)Location::FromUrlText(url);
            ADD_FAILURE() << OV::ToUtf8(url);
        } catch (const OV::IllegalArgumentException& error) {
            EXPECT_EQ(OV::String(error.what()).find("secret"), OV::String::npos) << error.what();
        }
    }
    EXPECT_THROW((void)Location::FromPath(u"/a").ToUrlText(), OV::IllegalArgumentException);
    EXPECT_THROW((void)Location::MakeUrl(u"s").ToUrlText(), OV::IllegalArgumentException);
    auto other = Location::MakeUrl(u"s://elsewhere/");
    other.SetHost(u"h");
    EXPECT_THROW((void)other.ToUrlText(), OV::IllegalArgumentException)
        << "a scheme that would be read as a host";
}

TEST(LocationTest, AnyTextsComeBackFromTheUrl)
{
    RandomTexts texts;
    for (int round = 0; round < 3000; ++round) {
        auto location = Location::MakeUrl(u"syncra");
        location.SetUserName(texts.Next(0));
        location.SetPassword(texts.Next(0));
        location.SetHost(texts.Next(1));
        location.SetPort(static_cast<std::uint16_t>(texts.Number(0x10000)));
        for (std::uint32_t count = texts.Number(4); count > 0; --count)
            location = location.Appended(texts.Next(1));
        const auto url = location.ToUrlText();
        ASSERT_EQ(Location::FromUrlText(url), location) << OV::ToUtf8(url);
        for (const char16_t unit : url)
            ASSERT_TRUE(unit > 0x20 && unit < 0x7F) << OV::ToUtf8(url);
    }
}

TEST(LocationTest, NoMessageShowsThePassword)
{
    const auto location = Location::FromUrlText(u"syncra://me:secret@h/x");
    EXPECT_EQ(location.ToDisplayText(), u"syncra://me@h/x");
    auto incomplete = location;
    incomplete.SetHost(u"");
    for (const auto& place : {location, incomplete, location.Appended(u"")}) {
        const IO::IOException error(IO::ErrorCode::Other, u"Cannot open", place, "reason");
        EXPECT_EQ(OV::String(error.what()).find("secret"), OV::String::npos) << error.what();
    }
}

TEST(LocationTest, APlaceThatTheSystemWouldCutIsRefused)
{
    const TemporaryFolder folder;
    const auto victim = folder.GetLocation().Appended(u"victim");
    IO::File::Replace(victim, "content");
    const auto cut = folder.GetLocation().Appended(UniStringView(u"victim\0.tmp", 11));
    EXPECT_THROW(IO::File::Replace(cut, "other"), OV::Exception);
    EXPECT_THROW(IO::File::Delete(cut), OV::Exception);
    EXPECT_EQ(IO::File::ReadAll(victim), "content");
}
