#include "OVRoot/LateLibrary.hpp"
#include "OVRoot/Exception.hpp"

#include <gtest/gtest.h>

namespace {

constexpr auto Fail = [](OV::StringView message) { throw OV::Exception(message); };
constinit const OV::LateLibrary Mathematics{"libm.so.6", Fail};
constinit const OV::LateLibrary Missing{"libnobody-has-this.so.7", Fail};
constinit const OV::LateFunction<double(double)> Root{Mathematics, "sqrt"};
constinit const OV::LateFunction<double(double)> Unknown{Mathematics, "no_such_function"};
constinit const OV::LateFunction<double(double)> Nowhere{Missing, "sqrt"};

std::string Refusal(const OV::LateFunction<double(double)>& function)
{
    try {
        return std::to_string(function(1));
    } catch (const OV::Exception& failure) {
        return failure.what();
    }
}

TEST(LateLibraryTest, TellsWhichLibraryOrFunctionIsMissingEachTime)
{
    EXPECT_EQ(Root(9.0), 3.0);
    for (int round = 0; round < 2; ++round) {
        EXPECT_NE(Refusal(Nowhere).find("libnobody-has-this.so.7"), std::string::npos);
        EXPECT_NE(Refusal(Unknown).find("no_such_function"), std::string::npos);
        EXPECT_NE(Refusal(Unknown).find("libm.so.6"), std::string::npos);
    }
}

}  // namespace
