#include "AddressValidation.hpp"

#include <gtest/gtest.h>

namespace {

TEST(AddressValidationTest, HostNamesHoldLettersDigitsHyphensAndDotsOnly)
{
    for (const char* name : {"", "nexar", "NEXAR-01.example.org", "-a-", "..", "10.0.0.1"})
        EXPECT_TRUE(SYC::IsValidHostName(name)) << name;
    for (const char* name : {"a_b", "a b", " ", "a:1", "::1", "a/b", "gr\xc3\xbc\xc3\x9f", "a\n"})
        EXPECT_FALSE(SYC::IsValidHostName(name)) << name;
    EXPECT_FALSE(SYC::IsValidHostName(OV::String("a\0b", 3)));
}

TEST(AddressValidationTest, EmailAddresses)
{
    const char16_t* const good[] = {
        u"a@b.cd", u"a..b@c.de", u".a@b.cd",  u"a.@b.cd",
        u"a@-.ab", u"a@1.2.xy",  u"a@b.c1de", u"!#$%&'*+/=?^_`{|}~-@b.cd",
        u"a@b!.cd"};
    for (const auto* address : good)
        EXPECT_TRUE(SYC::IsValidEmailAddress(address)) << OV::ToUtf8(address);

    // Too short, at signs, dots of the domain and its end, blanks, what is no ASCII.
    const char16_t* const bad[] = {u"",
                                   u"a@b.",
                                   u"@b.c",
                                   u"abcde",
                                   u"a.b.cd",
                                   u"@b.cde",
                                   u"a@@b.cd",
                                   u"a@b@c.de",
                                   u"a@b.cd@",
                                   u"a@",
                                   u"aaaa@",
                                   u"a@bcde",
                                   u"a@.cd",
                                   u"a@cd.",
                                   u"a@b.cd.",
                                   u"a@b.c",
                                   u"a@b.c1",
                                   u"a@b.1c",
                                   u"a@c..de",
                                   u"a@b.c-",
                                   u"a b@c.de",
                                   u"a@b c.de",
                                   u" a@b.cd",
                                   u"a@b.cd ",
                                   u"a\t@b.cd",
                                   u"\x00fc@b.cd",
                                   u"a@b\x00fc.cd",
                                   u"a@b.c\x00fc",
                                   u"a@b.\x0441\x0441",
                                   u"a\x7f@b.cd"};
    for (const auto* address : bad)
        EXPECT_FALSE(SYC::IsValidEmailAddress(address)) << OV::ToUtf8(address);

    for (const char16_t special : OV::UniStringView(u"()<>@,;:\\\"[]")) {
        EXPECT_FALSE(SYC::IsValidEmailAddress(OV::UniString(u"a") + special + u"b@c.de"));
        EXPECT_FALSE(SYC::IsValidEmailAddress(OV::UniString(u"ab@c") + special + u"d.de"));
    }
    EXPECT_FALSE(SYC::IsValidEmailAddress(OV::UniString(u"a\0a@b.cd", 8)));
}

}  // namespace
