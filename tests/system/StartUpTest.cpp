#include "MeterTest.h"
#include "WorldFolder.h"

#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

using StartUp = MeterTest;

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

} // namespace

TEST_F(StartUp, TheMeterShowsThatNoSensorIsThere) {
    start();
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    EXPECT_TRUE(shows("noConnection.description",
                      "Please Connect a Quorvel Tessel CW or Tessel CW & Pulse sensor to the 8830K "
                      "in order to make measurements."));
    const auto window = Bench_widget(bench, "mainWindow8830K");
    ASSERT_TRUE(window);
    EXPECT_EQ(window->width, 1024);
    EXPECT_EQ(window->height, 768);
}

TEST_F(StartUp, TheSupplyIsHeldAndTheStartIsMarked) {
    start();
    EXPECT_EQ(Bench_readFile(bench, "/sys/class/leds/quorvel8830k:KeepOn/brightness"), "1\n");
    EXPECT_EQ(access(WorldFolder_path(bench.world, "/var/run/Quorvel_autorun").c_str(), F_OK), 0);
}

TEST_F(StartUp, NothingIsWarnedAbout) {
    start();
    ASSERT_TRUE(
        Bench_waitUntil([&] { return Bench_countInSyslog(bench, "alive") > 0; }, readingLimit_ms));
    EXPECT_EQ(Bench_countInSyslog(bench, "USER_WARNING"), 0U);
    EXPECT_EQ(Bench_countInSyslog(bench, "USER_ERROR"), 0U);
    const std::string errors = WorldFolder_readFile(bench.world + "/program.errors");
    EXPECT_EQ(errors, "");
}

TEST_F(StartUp, WhatPowerCutsHaveLeftBesideItsFilesIsRemoved) {
    // Of a process that cannot be.
    const std::string left = ".new.2147483646.1";
    const std::string files[] = {settingsFile, "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf",
                                 "/etc/network/interfaces"};
    start({.prepare = [&](const std::string& world) {
        for (const std::string& file : files) {
            WorldFolder_write(world, file + left, "half of wh");
        }
    }});
    for (const std::string& file : files) {
        EXPECT_EQ(access(WorldFolder_path(bench.world, file + left).c_str(), F_OK), -1) << file;
    }
}

TEST_F(StartUp, MissingDevicesDoNotKeepTheMeterFromStarting) {
    for (const char* path :
         {"/dev/ttyS1", "/dev/ttyS2", "/dev/input/event0", "/sys/class/hwmon",
          "/sys/devices/virtual/battery_charger", "/sys/class/power_supply", "/sys/class/leds"}) {
        // The daemon makes the terminals anew, so they are taken away once it runs.
        start({.commands = {"remove " + std::string(path)}});
        EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected")) << path;
        Bench_stop(bench);
    }
}

TEST_F(StartUp, AMissingCommandPortSilencesTheOlderMetersProtocolOnly) {
    start({.commands = {"remove /dev/ttyS4"}, .prepare = [](const std::string& world) {
               WorldFolder_write(world, settingsFile, "useLegacyRS232Commands 1\n");
           }});
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
}

TEST_F(StartUp, AMissingCommandPortEndsAMeterThatServesScpiOnIt) {
    start({.commands = {"remove /dev/ttyS4"}, .waitsForScreen = false});
    EXPECT_EQ(Bench_waitForEnd(bench, readingLimit_ms), 255);
    EXPECT_GT(Bench_countInSyslog(bench, "Could not open /dev/ttyS4"), 0U);
    EXPECT_GT(Bench_countInSyslog(bench, "createSerialServer() failed"), 0U);
}

TEST_F(StartUp, WithoutCurrentMonitorsNoSerialSensorIsFound) {
    start({.commands = {"remove /sys/class/hwmon/hwmon2"}});
    plug("serial2", "5132 fwd=1");
    plugFirst("serial1", "5132 fwd=25");
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
    EXPECT_FALSE(Bench_isVisible(bench, "upper.fwd.value"));
}

TEST_F(StartUp, ADecimalCommaOfTheDesktopChangesNoNumber) {
    start({.environment = {{"LC_ALL", "de_DE.UTF-8"}, {"LOCPATH", QUORVEL_LOCALES}}});
    plugFirst("serial1", "5132 fwd=25 rfl=0.5");
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
    EXPECT_TRUE(fileSays(settingsFile, "limitLineMax_ch1 "));
    EXPECT_THAT(Bench_readFile(bench, settingsFile), Not(HasSubstr(",")));
}

TEST_F(StartUp, NoGraphicsDriverIsLoadedIntoItsMemory) {
    start();
    const std::string maps =
        WorldFolder_readFile("/proc/" + std::to_string(Bench_programId(bench)) + "/maps");
    EXPECT_THAT(maps, HasSubstr("libgtk-3"));
    EXPECT_THAT(maps, Not(HasSubstr("libLLVM")));
    EXPECT_THAT(maps, Not(HasSubstr("libGLX")));
}

TEST_F(StartUp, OnlyTheStandardDescriptorsAreLeftToChildren) {
    start();
    const std::string folder = "/proc/" + std::to_string(Bench_programId(bench));
    for (int fd = 3; fd < 64; ++fd) {
        const std::string info = WorldFolder_readFile(folder + "/fdinfo/" + std::to_string(fd));
        const size_t flags = info.find("flags:");
        if (flags == std::string::npos) {
            continue;
        }
        constexpr unsigned long closeOnExec = 02000000;
        EXPECT_NE(strtoul(info.c_str() + flags + 6, nullptr, 8) & closeOnExec, 0U)
            << "descriptor " << fd << " " << info;
    }
}
