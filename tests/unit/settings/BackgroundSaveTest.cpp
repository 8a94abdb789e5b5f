#include "Configuration.h"
#include "SettingsFile.h"
#include "Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

namespace {

constexpr uint32_t limit_ms = 30000;
constexpr int slow_ms = 40000; ///< of the disk, unless it is mended before

std::atomic<int> textCount{0};

/// Settings whose file is on a slow disk. Each text that is composed for it is counted.
class BackgroundSave : public SettingsFile {
protected:
    BackgroundSave() {
        textCount = 0;
        configuration_registerSerialLines({[](FILE*) { ++textCount; }, nullptr});
        EXPECT_TRUE(World_fail(WorldFault::slow, standardSettingsFile, slow_ms));
    }
    ~BackgroundSave() override {
        mendDisk();
    }

    static void mendDisk() {
        World_clearFaults();
        EXPECT_TRUE(configuration_waitUntilSaved(limit_ms));
    }
    static void setIndex(uint32_t index) {
        configuration_setRfPowerScale({true, index}, 0, 0, Saving::inBackground);
    }
    static bool waitForText(int count) {
        return World_waitUntil([&] { return textCount == count; }, limit_ms);
    }
};

} // namespace

/// The first test of them all: later ones find the thread running.
TEST_F(BackgroundSave, WithoutAThreadTheSetterWritesTheFileItself) {
    World_clearFaults();
    WrappedCalls_fail(Call::threadCreate, EAGAIN);
    setIndex(3);
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "scale_ch1_fwd_scaleIndex 3"));
}

TEST_F(BackgroundSave, SetterReturnsBeforeTheDiskHasTheFile) {
    setIndex(3);
    configuration_setGatedPowerScale({true, 4}, 0, Saving::inBackground);
    configuration_setStatePowerScale({true, 5}, 1, 2, Saving::inBackground);
    EXPECT_EQ(configuration_getRfPowerScale(0, 0).scaleIndex, 3U);
    EXPECT_EQ(fileText(), defaultSettingsText);
    EXPECT_FALSE(configuration_waitUntilSaved(1));
    mendDisk();
    std::string expected = withLine(defaultSettingsText, "scale_ch1_fwd_scaleIndex 3");
    expected = withLine(expected, "scale_ch1_gatedPower_scaleIndex 4");
    EXPECT_EQ(fileText(), withLine(expected, "state_scale_ch2_2_scaleIndex 5"));
}

TEST_F(BackgroundSave, NewestSettingsTakeThePlaceOfThoseThatStillWait) {
    setIndex(1);
    ASSERT_TRUE(waitForText(1));
    for (uint32_t index = 2; index <= 9; ++index) {
        setIndex(index);
    }
    mendDisk();
    EXPECT_EQ(textCount, 2) << "one at once, and one for all that came meanwhile";
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "scale_ch1_fwd_scaleIndex 9"));
}

TEST_F(BackgroundSave, OtherSettersWaitForTheirTurnAndTheFile) {
    setIndex(3);
    ASSERT_TRUE(waitForText(1));
    std::string fileAtReturn;
    std::thread user([&] {
        configuration_setPowerUnitsIsdBm(true);
        fileAtReturn = fileText();
    });
    EXPECT_TRUE(World_waitUntil(configuration_getPowerUnitsIsdBm, limit_ms));
    setIndex(4); // waits with what the user's setter is about to write
    constexpr uint32_t enough_ms = 200;
    EXPECT_FALSE(World_waitUntil([] { return textCount > 1; }, enough_ms)) << "one after the other";
    EXPECT_EQ(fileText(), defaultSettingsText);
    mendDisk();
    user.join();
    const std::string expected = withLine(defaultSettingsText, "powerUnitsIsdBm 1");
    EXPECT_EQ(fileAtReturn, withLine(expected, "scale_ch1_fwd_scaleIndex 4"));
    EXPECT_TRUE(configuration_waitUntilSaved(limit_ms));
    EXPECT_EQ(fileText(), fileAtReturn);
}

TEST_F(BackgroundSave, NobodyWaitsForTheDiskOfASetterThatDoes) {
    std::thread user([] { configuration_setPowerUnitsIsdBm(true); });
    ASSERT_TRUE(waitForText(1));
    EXPECT_TRUE(configuration_getPowerUnitsIsdBm());
    EXPECT_FALSE(configuration_getQuorvelAppConfiguration().displayGraph);
    setIndex(2);
    EXPECT_EQ(configuration_getRfPowerScale(0, 0).scaleIndex, 2U);
    EXPECT_EQ(fileText(), defaultSettingsText) << "all that while the disk was at work";
    mendDisk();
    user.join();
    EXPECT_TRUE(configuration_waitUntilSaved(limit_ms));
}

TEST_F(BackgroundSave, FailureIsToldAndTheNextSaveHasEverything) {
    World_clearFaults();
    ASSERT_TRUE(World_fail(WorldFault::full, "/etc/QuorvelPowerMeterApp", ENOSPC));
    setIndex(3);
    EXPECT_TRUE(configuration_waitUntilSaved(limit_ms));
    EXPECT_EQ(fileText(), defaultSettingsText);
    EXPECT_TRUE(World_syslogContains("Warning: Unable to open settings file " +
                                     std::string(standardSettingsFile) + " for writing."));
    World_clearFaults();
    configuration_setGatedPowerScale({true, 4}, 0, Saving::inBackground);
    EXPECT_TRUE(configuration_waitUntilSaved(limit_ms));
    EXPECT_EQ(fileText(), withLine(withLine(defaultSettingsText, "scale_ch1_fwd_scaleIndex 3"),
                                   "scale_ch1_gatedPower_scaleIndex 4"));
}
