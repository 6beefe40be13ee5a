#include "SYClientBase/PasswordCoding.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/FileBytes.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <set>
#include <string>

using SYCB::CodePassword;
using SYCB::DecodePassword;
using SYCB::PasswordCodingException;

namespace {

constexpr OV::StringView Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

class PasswordCodingTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path KeyFile() const
    {
        return folder_.Path() / "config" / "Orvant" / "SYPassword.key";
    }
    [[nodiscard]] std::string KeyBytes() const { return ReadBytes(KeyFile()); }
    void WriteKey(const std::string& bytes) const
    {
        std::filesystem::create_directories(KeyFile().parent_path());
        WriteBytes(KeyFile(), bytes);
    }

    TemporaryFolder folder_;
};

bool IsRefused(OV::UniStringView coded)
{
    return Thrown([&] { (void)DecodePassword(coded); }).name == "PasswordCodingException";
}

}  // namespace

TEST_F(PasswordCodingTest, AnyPasswordComesBackExactly)
{
    std::minstd_rand random(7);
    for (int round = 0; round < 300; ++round) {
        OV::UniString password(random() % 100, u'\0');
        for (char16_t& unit : password)  // any unit, lone surrogates and null characters included
            unit = static_cast<char16_t>(random() % 4 ? 0xD7F0 + random() % 0x820 : random());
        const OV::UniString coded = CodePassword(password);
        ASSERT_EQ(DecodePassword(coded), password);
        ASSERT_EQ(CodePassword(password), coded) << "equal passwords give equal texts";
        ASSERT_EQ(coded.empty(), password.empty());
        ASSERT_TRUE(std::all_of(coded.begin(), coded.end(), [](char16_t unit) {
            return unit < 0x80 && Alphabet.find(static_cast<char>(unit)) != OV::StringView::npos;
        }));
    }
}

TEST_F(PasswordCodingTest, TheTextTellsNeitherThePasswordNorItsLength)
{
    std::set<OV::UniString> texts;
    std::set<std::size_t> lengths;
    for (std::size_t length = 1; length < 32; ++length) {
        const OV::UniString coded = CodePassword(OV::UniString(length, u'a'));
        EXPECT_EQ(coded.find(u"aaaa"), OV::UniString::npos);
        texts.insert(coded.substr(1, 10));
        lengths.insert(coded.size());
    }
    EXPECT_EQ(lengths.size(), 1u);
    EXPECT_EQ(texts.size(), 31u) << "no common beginning";
}

TEST_F(PasswordCodingTest, NoChangedCharacterGoesUnnoticed)
{
    for (const OV::UniString& password : {OV::UniString(u"geheim"), OV::UniString(40, u'x')}) {
        const OV::UniString coded = CodePassword(password);
        for (std::size_t at = 0; at < coded.size(); ++at) {
            for (const char other : Alphabet) {
                OV::UniString changed = coded;
                changed[at] = static_cast<char16_t>(other);
                ASSERT_EQ(IsRefused(changed), changed != coded) << at << other;
            }
            ASSERT_TRUE(IsRefused(coded.substr(0, at)) || at == 0);
            ASSERT_TRUE(IsRefused(coded.substr(0, at) + u" " + coded.substr(at)));
        }
        EXPECT_TRUE(IsRefused(coded + u"A"));
        EXPECT_TRUE(IsRefused(coded + u"="));
        EXPECT_TRUE(IsRefused(coded + coded));
    }
    EXPECT_TRUE(IsRefused(u"geheim"));
    EXPECT_TRUE(IsRefused(u"1"));
    EXPECT_TRUE(IsRefused(u"\u00FC\xD800"));
}

TEST_F(PasswordCodingTest, TheKeyFileIsPrivateAndAnotherKeyReadsNothing)
{
    const OV::UniString coded = CodePassword(u"geheim");
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(KeyFile()).permissions(),
              perms::owner_read | perms::owner_write);
    EXPECT_EQ(KeyBytes().size(), 32u);

    const TemporaryFolder otherUser;
    EXPECT_TRUE(IsRefused(coded));
    EXPECT_FALSE(std::filesystem::exists(otherUser.Path() / "config" / "Orvant" / "SYPassword.key"))
        << "reading makes no key";
    EXPECT_NE(CodePassword(u"geheim"), coded);
    EXPECT_TRUE(IsRefused(coded));
    setenv("XDG_CONFIG_HOME", (folder_.Path() / "config").c_str(), 1);
    EXPECT_EQ(DecodePassword(coded), u"geheim");
}

TEST_F(PasswordCodingTest, ADamagedKeyFileIsNamedAndLeftAlone)
{
    for (const std::string& bytes : {std::string(), std::string(31, 'k'), std::string(33, 'k')}) {
        WriteKey(bytes);
        const Thrown thrown([] { (void)CodePassword(u"geheim"); });
        EXPECT_EQ(thrown.name, "PasswordCodingException") << bytes.size();
        EXPECT_TRUE(thrown.Tells("SYPassword.key") && !thrown.Tells("geheim")) << thrown.message;
        EXPECT_EQ(KeyBytes(), bytes);
    }
    WriteKey(std::string(32, 'k'));
    EXPECT_EQ(DecodePassword(CodePassword(u"geheim")), u"geheim");
}

TEST_F(PasswordCodingTest, AFolderThatCannotBeMadeIsAnErrorOfTheCoding)
{
    std::ofstream(folder_.Path() / "config") << "a file in the folder's place";
    EXPECT_THROW((void)CodePassword(u"geheim"), PasswordCodingException);
}

TEST_F(PasswordCodingTest, ProcessesThatStartTogetherAgreeOnOneKey)
{
    for (int round = 0; round < 10; ++round) {
        const TemporaryFolder fresh;
        const auto output = [&fresh](int child) { return fresh.Path() / std::to_string(child); };
        {
            std::vector<ChildProcess> children;
            for (int child = 0; child < 6; ++child)
                children.emplace_back([&output, child] {
                    std::ofstream(output(child)) << OV::ToUtf8(CodePassword(u"geheim"));
                    return 0;
                });
            for (ChildProcess& child : children)
                ASSERT_EQ(child.Wait(), 0);
        }
        std::set<std::string> texts;
        for (int child = 0; child < 6; ++child)
            texts.insert(ReadBytes(output(child)));
        ASSERT_EQ(texts.size(), 1u);
        ASSERT_EQ(*texts.begin(), OV::ToUtf8(CodePassword(u"geheim")));
    }
}
