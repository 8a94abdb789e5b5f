#include "FleetText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(FleetText, ATimeIsUtcWithMilliseconds) {
    EXPECT_EQ("2026-11-21T23:51:08.123Z", FleetText_time(1795305068123));
    EXPECT_EQ("1970-01-01T00:00:00.000Z", FleetText_time(0));
    EXPECT_EQ("1969-12-31T23:59:59.999Z", FleetText_time(-1));
    EXPECT_EQ("2024-02-29T12:00:00.000Z", FleetText_time(1709208000000));
}

TEST(FleetText, PercentSignsStandForCharacters) {
    EXPECT_EQ("a@b/c", FleetText_decodePercent("a%40b%2Fc"));
    EXPECT_EQ("", FleetText_decodePercent(""));
    for (const char* broken : {"%", "%4", "%zz", "a%-1", "%4z"}) {
        EXPECT_FALSE(FleetText_decodePercent(broken)) << broken;
    }
}

TEST(FleetText, ATimeIsReadBack) {
    for (const int64_t time_ms : {int64_t{0}, int64_t{1795305068123}, int64_t{1709208000001}}) {
        EXPECT_EQ(time_ms, FleetText_parseTime(FleetText_time(time_ms)));
    }
    EXPECT_EQ(1795305068000, FleetText_parseTime("2026-11-21T23:51:08Z"));
    EXPECT_EQ(1795305068123, FleetText_parseTime("2026-11-21T23:51:08.1239Z"));
}

TEST(FleetText, WhatIsNoTimeIsRefused) {
    for (const char* text :
         {"", "2026", "2026-11-21", "2026-11-21T23:51:08", "2026-11-21T23:51:08.Z",
          "2026-02-30T00:00:00Z", "2026-13-01T00:00:00Z", "2026-11-21T24:00:00Z",
          "2026-11-21T23:51:08+01:00", "2026-11-21 23:51:08Z", "-026-11-21T23:51:08Z",
          "2026-11-21T23:51:08Zx", "2026-1--21T23:51:08Z"}) {
        EXPECT_FALSE(FleetText_parseTime(text)) << text;
    }
}

TEST(FleetText, DurationsHaveAUnit) {
    EXPECT_EQ(100, FleetText_parseDuration("100ms"));
    EXPECT_EQ(1500, FleetText_parseDuration("1.5s"));
    EXPECT_EQ(600'000, FleetText_parseDuration("10min"));
    EXPECT_EQ(3'600'000, FleetText_parseDuration("1h"));
    EXPECT_EQ(30LL * 86'400'000, FleetText_parseDuration("30d"));
    EXPECT_EQ(5 * 365LL * 86'400'000, FleetText_parseDuration("5y"));
    for (const char* text : {"", "5", "s", "-5s", "0s", "0.1ms", "5 s", "1e3s", "nans", "infs",
                             "101y", "5sec", "99999999999999999999999999999999h"}) {
        EXPECT_FALSE(FleetText_parseDuration(text)) << text;
    }
}

TEST(FleetText, AClockCountsHours) {
    EXPECT_EQ("0:00:00", FleetText_clock(-5));
    EXPECT_EQ("0:01:05", FleetText_clock(65'999));
    EXPECT_EQ("100:00:00", FleetText_clock(360'000'000));
}

TEST(FleetText, ANumberReadsBackAsItWas) {
    for (const double number : {25.0, 9.99999974737875e-05, 13.5600004196167, 1e300, -0.5, 0.1}) {
        EXPECT_EQ(number, FleetText_parseNumber(FleetText_number(number)));
    }
    EXPECT_EQ("25", FleetText_number(25));
    EXPECT_EQ("9.99999974737875e-05", FleetText_number(9.99999974737875e-05));
    EXPECT_EQ("", FleetText_number(std::numeric_limits<double>::quiet_NaN()));
}

TEST(FleetText, OnlyNumbersAreNumbers) {
    EXPECT_TRUE(std::isnan(*FleetText_parseNumber("nan")));
    for (const char* text :
         {"", "inf", "-inf", "1e999", "1,5", "25 W", " 25", "0x10", "--1", "1;2"}) {
        EXPECT_FALSE(FleetText_parseNumber(text)) << text;
    }
}

TEST(FleetText, CleanTextKeepsWhatIsReadable) {
    EXPECT_EQ("5132 \"A\", <script>alert(1)</script>%s%n",
              FleetText_clean("5132 \"A\", <script>alert(1)</script>%s%n"));
    EXPECT_EQ("Größe µ 日本 🙂", FleetText_clean("  Größe µ 日本 🙂  "));
    EXPECT_EQ("", FleetText_clean("   "));
}

TEST(FleetText, CleanTextHasNoControlsAndNoBrokenCharacters) {
    EXPECT_EQ("a?b?c??d", FleetText_clean("a\nb\x7f"
                                          "c\xff\xc0"
                                          "d"));
    EXPECT_EQ("??", FleetText_clean("\xc2\x85"));      // a C1 control
    EXPECT_EQ("???", FleetText_clean("\xed\xa0\x80")); // a surrogate
    EXPECT_EQ("??", FleetText_clean("\xe6\x97"));      // cut off
    EXPECT_EQ("????", FleetText_clean("\xf4\x90\x80\x80"));
    EXPECT_EQ("???", FleetText_clean("\xe0\x80\x80"));
}

TEST(FleetText, CleanTextIsShort) {
    EXPECT_EQ(std::string(64, 'x'), FleetText_clean(std::string(1000, 'x')));
    std::string text;
    for (int i = 0; i < 40; ++i) {
        text += "日";
    }
    EXPECT_EQ(63U, FleetText_clean(text).size());
}

} // namespace
