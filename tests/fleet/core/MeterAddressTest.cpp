#include "MeterAddress.h"

#include <gtest/gtest.h>

namespace {

TEST(MeterAddress, ReadsNamesAndAddresses) {
    EXPECT_EQ((MeterAddress{"meter.local", 5025}), MeterAddress_parse("meter.local"));
    EXPECT_EQ((MeterAddress{"192.168.1.50", 5026}), MeterAddress_parse("192.168.1.50:5026"));
    EXPECT_EQ((MeterAddress{"fe80::1%eth0", 5025}), MeterAddress_parse("[fe80::1%eth0]"));
    EXPECT_EQ((MeterAddress{"::1", 1}), MeterAddress_parse("[::1]:1"));
}

TEST(MeterAddress, RefusesEverythingElse) {
    for (const char* text : {"", ":5025", "a:", "a:0", "a:65536", "a:5x", "a b", "a/b", "[]",
                             "[::1", "[::1]x", "[::1]5", "::1", "[name]", "a:-1", "a;b", "a\n"}) {
        EXPECT_FALSE(MeterAddress_parse(text)) << text;
    }
}

TEST(MeterAddress, IsWrittenAsItIsRead) {
    for (const char* text : {"meter", "meter:1", "[::1]", "[::1]:77"}) {
        EXPECT_EQ(text, MeterAddress_text(*MeterAddress_parse(text)));
    }
    EXPECT_EQ("meter", MeterAddress_text(*MeterAddress_parse("meter:5025")));
}

} // namespace
