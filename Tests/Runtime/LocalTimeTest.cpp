#include "OVRoot/LocalTime.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

TEST(LocalTimeTest, DaysAreWholeWhateverTheClocksDo)
{
    const auto live = [](const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    };
    constexpr const char* saoPaulo = "BRT3BRST,M10.3.0/0,M2.3.0/0";
    constexpr const char* cairo = "EET-2EEST,M4.5.5/0,M10.5.4/24";
    constexpr const char* havana = "CST5CDT,M3.2.0/0,M11.1.0/1";
    constexpr const char* berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
    const struct {
        const char* zone;
        int year, month, day;
        std::int64_t start;
        int hours;
    } days[] = {
        {"UTC0", 1969, 12, 31, -86'400, 24},
        {"UTC0", 2100, 2, 29, 4'107'542'400, 24},  // there is none: the first of March
        {"UTC0", 2026, 13, 1, 1'798'761'600, 24},  // the first of January
        {saoPaulo, 2018, 2, 17, 1'518'832'800, 25},
        {saoPaulo, 2018, 10, 21, 1'540'090'800, 23},  // begins at 01:00
        {cairo, 2024, 10, 31, 1'730'322'000, 25},
        {havana, 2024, 11, 3, 1'730'606'400, 25},
        {berlin, 2024, 3, 31, 1'711'839'600, 23},
    };
    for (const auto& each : days) {
        live(each.zone);
        EXPECT_EQ(OV::StartOfDay(each.year, each.month, each.day), each.start) << each.zone;
        EXPECT_EQ(OV::EndOfDay(each.year, each.month, each.day),
                  each.start + each.hours * 3600 - 1);
    }
    for (const std::int64_t former : {1'720'000'000, 1'735'000'000}) {
        (void)OV::FromLocalTime(OV::ToLocalTime(former));
        EXPECT_EQ(OV::FromLocalTime({2024, 10, 27, 2, 30, 0}), 1'729'989'000) << "the first of two";
        EXPECT_EQ(OV::FromLocalTime({2024, 3, 31, 2, 30, 0}), 1'711'848'600) << "an hour later";
    }
    unsetenv("TZ");
    tzset();
}
