#include "Numbers.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

TEST(Numbers, IntegerIsReadAsFarAsItGoes) {
    struct Case {
        const char* text;
        int value;
    };
    constexpr Case cases[] = {
        {"0", 0},
        {"17", 17},
        {"-3", -3},
        {"  8", 8},
        {"12abc", 12},
        {"abc", 0},
        {"", 0},
        {"1.9", 1},
        {"+4", 4},
        {"2147483647", INT_MAX},
        {"-2147483648", INT_MIN},
        {"99999999999999999999", INT_MAX},
        {"-99999999999999999999", INT_MIN},
        {"4294967296", INT_MAX},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(Numbers_toInt(row.text), row.value) << "'" << row.text << "'";
    }
}

TEST(Numbers, AFloatBeyondItsRangeIsAnInfinity) {
    char* end = nullptr;
    const char* text = "13.56MHz";
    EXPECT_EQ(Numbers_toFloat(text, &end), 13.56F);
    EXPECT_EQ(end, text + 5);
    EXPECT_EQ(Numbers_toFloat("1e300", nullptr), std::numeric_limits<float>::infinity());
    EXPECT_EQ(Numbers_toFloat("-1e300", nullptr), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(Numbers_toFloat("watt", nullptr), 0.0F);
}

TEST(Numbers, DecimalEndsAtTheFirstCharacterThatBelongsToNoNumber) {
    const char* text = " -12.5W";
    char* end = nullptr;
    EXPECT_EQ(Numbers_toDouble(text, &end), -12.5);
    EXPECT_STREQ(end, "W");
    EXPECT_EQ(Numbers_toDouble("no number", nullptr), 0.0);
}

/// The process has a locale with decimal commas, as GTK sets it up on such a desktop.
class DecimalComma : public testing::Test {
protected:
    void SetUp() override {
        setenv("LOCPATH", QUORVEL_LOCALES, 1);
        ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    }
    void TearDown() override {
        setlocale(LC_ALL, "C");
    }
};

TEST_F(DecimalComma, DoesNotReachNumbersThatAreRead) {
    EXPECT_EQ(Numbers_toDouble("1.5", nullptr), 1.5);
}

TEST_F(DecimalComma, DoesNotReachNumbersThatAreWrittenInAScope) {
    char text[32];
    {
        const ScopedNumberLocale locale;
        snprintf(text, sizeof text, "%.1f", 1.5);
    }
    EXPECT_STREQ(text, "1.5");
    snprintf(text, sizeof text, "%.1f", 1.5);
    EXPECT_STREQ(text, "1,5");
}

} // namespace
