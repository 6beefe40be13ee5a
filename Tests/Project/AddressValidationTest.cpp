#include "AddressValidation.hpp"
#include "Support/Pieces.hpp"

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
    for (const auto& address :
         Pieces(u"|a@b.|@b.c|abcde|a.b.cd|@b.cde|a@@b.cd|a@b@c.de|a@b.cd@|a@|aaaa@|a@bcde|"
                u"a@.cd|a@cd.|a@b.cd.|a@b.c|a@b.c1|a@b.1c|a@c..de|a@b.c-|a b@c.de|a@b c.de|"
                u" a@b.cd|a@b.cd |a\t@b.cd|\x00fc@b.cd|a@b\x00fc.cd|a@b.c\x00fc|"
                u"a@b.\x0441\x0441|a\x7f@b.cd"))
        EXPECT_FALSE(SYC::IsValidEmailAddress(address)) << OV::ToUtf8(address);

    for (const char16_t special : OV::UniStringView(u"()<>@,;:\\\"[]")) {
        EXPECT_FALSE(SYC::IsValidEmailAddress(OV::UniString(u"a") + special + u"b@c.de"));
        EXPECT_FALSE(SYC::IsValidEmailAddress(OV::UniString(u"ab@c") + special + u"d.de"));
    }
    EXPECT_FALSE(SYC::IsValidEmailAddress(OV::UniString(u"a\0a@b.cd", 8)));
}

}  // namespace
