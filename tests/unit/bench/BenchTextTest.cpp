#include "BenchText.h"

#include <gmock/gmock.h>

using testing::DoubleNear;
using testing::ElementsAre;
using testing::Optional;

TEST(BenchText, WordsAreSeparatedByAnyBlanks) {
    EXPECT_THAT(BenchText_words("  plug\tserial1  5132 \r\n"),
                ElementsAre("plug", "serial1", "5132"));
    EXPECT_TRUE(BenchText_words(" \t ").empty());
}

TEST(BenchText, NumbersAreWholeTextsAndFinite) {
    EXPECT_THAT(BenchText_number("-2.5e3"), Optional(-2500.0));
    for (const char* text : {"", "1,5", "12x", "nan", "inf", " 1", "0x10"}) {
        EXPECT_FALSE(BenchText_number(text)) << text;
    }
}

TEST(BenchText, UnitsScaleTheirNumber) {
    struct Case {
        std::optional<double> (*read)(std::string_view);
        const char* text;
        double expected;
    };
    const Case cases[] = {
        {BenchText_duration_s, "60s", 60},
        {BenchText_duration_s, "500ms", 0.5},
        {BenchText_duration_s, "2m", 120},
        {BenchText_duration_s, "-1h", -3600},
        {BenchText_duration_s, "3", 3},
        {BenchText_duration_s, "250us", 0.00025},
        {BenchText_power_W, "25", 25},
        {BenchText_power_W, "3mW", 0.003},
        {BenchText_power_W, "1.2kW", 1200},
        {BenchText_power_W, "10dBm", 0.01},
        {BenchText_power_W, "0.5W", 0.5},
        {BenchText_power_W, "2uW", 0.000002},
        {BenchText_frequency_Hz, "13.56MHz", 13.56e6},
        {BenchText_frequency_Hz, "400kHz", 4e5},
        {BenchText_frequency_Hz, "50", 50},
        {BenchText_frequency_Hz, "2GHz", 2e9},
    };
    for (const Case& c : cases) {
        EXPECT_THAT(c.read(c.text), Optional(DoubleNear(c.expected, 1e-9 * std::abs(c.expected))))
            << c.text;
    }
}

TEST(BenchText, AUnitWithoutNumberIsRefused) {
    EXPECT_FALSE(BenchText_duration_s("s"));
    EXPECT_FALSE(BenchText_power_W("kW"));
    EXPECT_FALSE(BenchText_power_W("dBm"));
    EXPECT_FALSE(BenchText_frequency_Hz("fast"));
}

TEST(BenchText, EscapesTurnBackIntoTheirCharacters) {
    EXPECT_EQ(BenchText_unescape("a\\tb\\nc\\\\d"), "a\tb\nc\\d");
    EXPECT_EQ(BenchText_unescape("end\\"), "end\\");
}

TEST(BenchText, ListsReadAsASentence) {
    EXPECT_EQ(BenchText_list({}), "");
    EXPECT_EQ(BenchText_list({"a"}), "a");
    EXPECT_EQ(BenchText_list({"a", "b", "c"}), "a, b and c");
}

TEST(BenchText, TheLastLinesAreThoseAtTheEnd) {
    EXPECT_EQ(BenchText_lastLines("a\nb\nc\n", 2), "b\nc\n");
    EXPECT_EQ(BenchText_lastLines("a\nb", 1), "b\n");
    EXPECT_EQ(BenchText_lastLines("a\n", 5), "a\n");
    EXPECT_EQ(BenchText_lastLines("", 5), "");
}
