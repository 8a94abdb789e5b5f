#include "SerialReading.h"

#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cmath>
#include <csignal>
#include <limits>
#include <string>

namespace {

constexpr float noLimit_W = 1.0e12F;
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

std::string reading(float power_W, uint32_t range, float maxPower_W = noLimit_W) {
    char buffer[64];
    const size_t length = format_power(buffer, sizeof buffer, "FC", power_W, maxPower_W, range);
    EXPECT_EQ(length, strlen(buffer));
    return buffer;
}

TEST(SerialReading, EveryRangeHasItsFormatAndUnit) {
    const struct {
        float power_W;
        const char* text;
    } cases[] = {
        {1.5e-9F, "NFC  1.5000  nW\r\n"}, {1.5e-8F, "NFC  15.000  nW\r\n"},
        {1.5e-7F, "NFC  150.00  nW\r\n"}, {1.5e-6F, "NFC  1.5000  uW\r\n"},
        {1.5e-5F, "NFC  15.000  uW\r\n"}, {1.5e-4F, "NFC  150.00  uW\r\n"},
        {1.5e-3F, "NFC  1.5000  mW\r\n"}, {1.5e-2F, "NFC  15.000  mW\r\n"},
        {0.15F, "NFC  150.00  mW\r\n"},   {1.5F, "NFC  1.5000   W\r\n"},
        {15.0F, "NFC  15.000   W\r\n"},   {150.0F, "NFC  150.00   W\r\n"},
        {1.5e3F, "NFC  1.5000  KW\r\n"},  {1.5e4F, "NFC  15.000  KW\r\n"},
        {1.5e5F, "NFC  150.00  KW\r\n"},  {1.5e6F, "NFC  1.5000  MW\r\n"},
        {1.5e7F, "NFC  15.000  MW\r\n"},  {1.5e8F, "NFC  150.00  MW\r\n"},
    };
    uint32_t range = 0;
    for (const auto& row : cases) {
        EXPECT_EQ(reading(row.power_W, range), row.text) << range;
        ++range;
    }
    EXPECT_EQ(range, 18U);
}

TEST(SerialReading, FourDecimalsShowNoLeadingZero) {
    const struct {
        float power_W;
        uint32_t range;
        const char* text;
    } cases[] = {
        {0.1234F, 9, "NFC   .1234   W\r\n"},  {0.0F, 9, "NFC   .0000   W\r\n"},
        {0.1234F, 10, "NFC   0.123   W\r\n"}, {0.1234F, 11, "NFC    0.12   W\r\n"},
        {1.0234F, 9, "NFC  1.0234   W\r\n"},  {2.5e-10F, 0, "NFC   .2500  nW\r\n"},
        {-0.5F, 9, "NFC - .5000   W\r\n"},    {150.0F, 12, "NFC   .1500  KW\r\n"},
        {5.0F, 17, "NFC    0.00  MW\r\n"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(reading(row.power_W, row.range), row.text) << row.power_W << " " << row.range;
    }
}

TEST(SerialReading, BeyondTheRangeIsOverflowInTheCoarsestRangeOfTheUnit) {
    const char* const units[] = {"nW", "uW", "mW", " W", "KW", "MW"};
    const double tops[] = {1.999e-9, 1.999e-8, 1.999e-7, 1.999e-6, 1.999e-5, 1.999e-4,
                           1.999e-3, 1.999e-2, 0.1999,   1.999,    19.99,    199.9,
                           1999,     19990,    199900,   1999000,  19990000, 199990000};
    for (uint32_t range = 0; range < 18; ++range) {
        const float top = static_cast<float>(tops[range]);
        EXPECT_EQ(reading(top, range)[0], 'N') << range;
        EXPECT_EQ(reading(std::nextafter(top, noLimit_W), range),
                  std::string("OFC  199.99  ") + units[range / 3] + "\r\n")
            << range;
    }
}

TEST(SerialReading, MoreThanTheSensorStandsIsOverflow) {
    EXPECT_EQ(reading(30.0F, 11, 25.0F), "NFC   30.00   W\r\n");
    EXPECT_EQ(reading(30.1F, 11, 25.0F), "OFC  199.99   W\r\n");
    EXPECT_EQ(reading(0.03001F, 8, 0.025F), "OFC  199.99  mW\r\n");
    EXPECT_EQ(reading(2.0e8F, 17), "OFC  199.99  MW\r\n");
    EXPECT_EQ(reading(std::numeric_limits<float>::infinity(), 3), "OFC  199.99  uW\r\n");
    EXPECT_EQ(reading(2.0e8F, 4000), "OFC  199.99  MW\r\n");
}

TEST(SerialReading, AMissingReadingIsSentAsTheLibraryPrintsIt) {
    EXPECT_EQ(reading(notANumber, 9), "NFC     nan   W\r\n");
}

TEST(SerialReading, ANumberThatIsTooLongIsCutAndReported) {
    World_clearSyslog();
    EXPECT_EQ(reading(-12.3456F, 9), "NFC -12.345   W\r\n");
    EXPECT_TRUE(World_syslogContains(
        "USER_WARNING:  An error occurred formatting a serial command response."));
    EXPECT_TRUE(World_syslogContains(
        "formatting value of -12.345600 with % 7.4f exceeds sizeof(buffer)=8"));
}

TEST(SerialReading, ANumberThatCannotBeFormattedIsReportedAndLeftOut) {
    World_clearSyslog();
    WrappedCalls_fail(Call::formatText, EOVERFLOW);
    EXPECT_EQ(reading(1.5F, 9), "NFC    W\r\n");
    WrappedCalls_reset();
    EXPECT_TRUE(World_syslogContains(
        "USER_WARNING:  An error occurred formatting a serial command response."));
    EXPECT_TRUE(World_syslogContains("snprintf errno=" + std::to_string(EOVERFLOW)));
}

TEST(SerialReading, NumbersDoNotFollowTheLocale) {
    setenv("LOCPATH", QUORVEL_LOCALES, 1);
    ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    EXPECT_EQ(reading(1.5F, 9), "NFC  1.5000   W\r\n");
    setlocale(LC_ALL, "C");
}

TEST(SerialReading, AutomaticRangeIsNeverFinerThanTheMinimumPower) {
    EXPECT_EQ(SerialReading_autoRange(1.0e-9F, 0.0F, 5), 0U);
    EXPECT_EQ(SerialReading_autoRange(1.0e-9F, 0.01F, 5), 7U);
    EXPECT_EQ(SerialReading_autoRange(10.0F, 0.01F, 5), 10U);
    EXPECT_EQ(SerialReading_autoRange(notANumber, 0.01F, 0), 7U);
    EXPECT_EQ(SerialReading_autoRange(1.9F, 0.0F, 9), 9U);   // between the thresholds
    EXPECT_EQ(SerialReading_autoRange(1.9F, 0.0F, 10), 10U); // the range stays
}

TEST(SerialReadingDeathTest, ABufferThatIsTooSmallIsFatal) {
    char buffer[8];
    EXPECT_EXIT(format_power(buffer, sizeof buffer, "FC", 1.0F, noLimit_W, 9),
                testing::KilledBySignal(SIGABRT), "");
}

} // namespace
