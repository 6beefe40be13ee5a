#include "OVRoot/PercentCoding.hpp"

#include <gtest/gtest.h>

using OV::PercentDecode;
using OV::PercentEncode;
using OV::StringView;

TEST(PercentCodingTest, CodesEveryByteThatIsNotUnreserved)
{
    EXPECT_EQ(PercentEncode("AZaz09-._~"), "AZaz09-._~");
    const StringView odd("a/b?c&d=e+f% \0\xC3\xBC", 16);
    EXPECT_EQ(PercentEncode(odd), "a%2Fb%3Fc%26d%3De%2Bf%25%20%00%C3%BC");
    EXPECT_EQ(PercentDecode(PercentEncode(odd)), odd);
}

TEST(PercentCodingTest, RefusesDamagedEscapesAndWhatIsNoUtf8)
{
    for (const char* damaged : {"%", "%4", "%4G", "%G4", "a%", "%%41", "%-1", "%FF", "%C3", "\xFF"})
        EXPECT_FALSE(PercentDecode(damaged)) << damaged;
    EXPECT_EQ(PercentDecode("%c3%bc+%41"), "\xC3\xBC+A") << "either case; a plus is a plus";
}
