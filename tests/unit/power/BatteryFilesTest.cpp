#include "BatteryFiles.h"

#include "World.h"

#include <gtest/gtest.h>

#include <array>

namespace {

const std::string charger = "/sys/devices/virtual/battery_charger/ltc4162/";
const std::string gauge = "/sys/class/power_supply/fuel_gauge/";

} // namespace

TEST(BatteryFiles, ValueIsWrittenAsSixteenBytesPaddedWithZeros) {
    World_writeFile(charger + "configBits_raw", "something longer than sixteen bytes");
    ASSERT_TRUE(BatteryFile_write(BatteryFile::configBits_raw, "12"));
    std::string expected("12");
    expected.resize(16, '\0');
    EXPECT_EQ(World_readFile(charger + "configBits_raw"), expected);
}

TEST(BatteryFiles, WrittenRecordReadsBack) {
    World_writeFile(gauge + "charge_now", "0");
    ASSERT_TRUE(BatteryFile_write(BatteryFile::charge_now, "11140951"));
    EXPECT_EQ(BatteryFile_read(BatteryFile::charge_now), 11140951);
}

TEST(BatteryFiles, OnlyTheFirstEightBytesAreRead) {
    struct Case {
        const char* content;
        std::optional<long> value;
    };
    const std::array<Case, 9> cases = {{
        {"11400000\n", 11400000},
        {"123456789\n", 12345678},
        {"256\n", 256},
        {" 42", 42},
        {"-50\n", -50},
        {"12abc", 12},
        {"", std::nullopt},
        {"\n", std::nullopt},
        {"volts", std::nullopt},
    }};
    for (const Case& row : cases) {
        World_writeFile(gauge + "voltage_now", row.content);
        EXPECT_EQ(BatteryFile_read(BatteryFile::voltage_now), row.value) << row.content;
    }
}

TEST(BatteryFiles, MissingFileGivesNothingAndIsNotCreated) {
    World_removeFile(charger + "armShipMode_raw");
    EXPECT_EQ(BatteryFile_read(BatteryFile::armShipMode_raw), std::nullopt);
    EXPECT_FALSE(BatteryFile_write(BatteryFile::armShipMode_raw, "0"));
    EXPECT_EQ(BatteryFile_read(BatteryFile::armShipMode_raw), std::nullopt);
}
