// The settings window and the dialogs of the top line, while the meter measures behind them.

#include "MeterTest.h"
#include "WorldFolder.h"

#include <algorithm>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

constexpr uint32_t restartLimit_ms = 40000;
constexpr int replyLimit_ms = 5000;

class MeterMenus : public MeterTest {
protected:
    void tapAll(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            ASSERT_TRUE(becomesVisible(name, true)) << name;
            ASSERT_TRUE(Bench_tap(bench, name)) << name;
        }
    }
    /// Sends to the command port and reads a line, or what comes within the limit.
    std::string askCommandPort(std::string_view bytes) {
        const int port =
            open((bench.world + "/command-port").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(write(port, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        std::string line;
        pollfd input{port, POLLIN, 0};
        char byte = 0;
        while (!line.ends_with('\n') && poll(&input, 1, replyLimit_ms) > 0 &&
               read(port, &byte, 1) == 1) {
            line += byte;
        }
        close(port);
        return line;
    }
    /// Asks until the port is served: what comes before is thrown away.
    bool isAnswered(std::string_view bytes, std::string_view answer) {
        return Bench_waitUntil([&] { return askCommandPort(bytes) == answer; }, restartLimit_ms);
    }
};

} // namespace

TEST_F(MeterMenus, SettingsAreStoredAndFollowedWhileTheyAreOpen) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_tap(bench, "single.configButton"));
    ASSERT_TRUE(becomesVisible("appSettings", true));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxReflected"));
    EXPECT_TRUE(becomesVisible("single.rfl.value", false));
    EXPECT_TRUE(fileSays(settingsFile, "displayReflectedPower 0\n"));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxGraph"));
    EXPECT_TRUE(becomesVisible("singleGraph.fwd.value", true));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxGraph"));
    EXPECT_TRUE(becomesVisible("single.fwd.value", true));
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    ASSERT_TRUE(Bench_tap(bench, "appSettingsClose"));
    EXPECT_TRUE(becomesVisible("checkBoxForward", false));
}

TEST_F(MeterMenus, ReadingsGoOnBehindEveryDialog) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    struct Case {
        const char* button;
        const char* closer;
    };
    for (const Case& row : {Case{"single.sensorButton", "sensorInfoDialog_ok"},
                            Case{"ethernetButton", "ethInfoDialog_ok"},
                            Case{"serialButton", "serSettingsDialog_cancel"},
                            Case{"aboutButton", "aboutDialog_ok"}}) {
        ASSERT_TRUE(Bench_tap(bench, row.button)) << row.button;
        ASSERT_TRUE(becomesVisible(row.closer, true));
        EXPECT_TRUE(measures("serial1", "single.fwd.value")) << row.button;
        ASSERT_TRUE(Bench_tap(bench, row.closer)) << row.closer;
        ASSERT_TRUE(becomesVisible(row.closer, false)); // it would take the next touch
    }
}

TEST_F(MeterMenus, LanSettingsReachTheirFileAndReadingsGoOnWhileNetworkingIsRestarted) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    tapAll({"ethernetButton", "ethInfoDialog_configure", "ethSettingsRadioButton2",
            "ethSettingsEntryAddress", "numKeypadButton1", "numKeypadButton0",
            "numKeypadButtonPeriod", "numKeypadButton0", "numKeypadButtonPeriod",
            "numKeypadButton0", "numKeypadButtonPeriod", "numKeypadButton7"});
    setSpeed(slowly); // it is there for some seconds only
    tapAll({"ethSettingsDialog_apply"});
    ASSERT_TRUE(becomesVisible("ethProgress", true));
    setSpeed(1);
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    EXPECT_TRUE(becomesVisible("ethProgress", false, restartLimit_ms));
    EXPECT_THAT(Bench_readFile(bench, "/etc/network/interfaces"),
                HasSubstr("\niface eth0 inet static\n    address 10.0.0.7\n"
                          "    netmask 255.255.255.0\n    gateway 192.168.1.1\n\nauto eth0:0\n"));
    EXPECT_EQ(std::ranges::count(Bench_commands(bench), "/etc/init.d/network restart"), 1);
}

TEST_F(MeterMenus, LanInformationFollowsTheCableWhileItIsOpen) {
    start();
    tapAll({"ethernetButton"});
    EXPECT_TRUE(shows("ethInfoLink", "up"));
    EXPECT_TRUE(shows("ethInfoMac", "02:88:30:00:00:01"));
    ASSERT_TRUE(Bench_do(bench, "lan link=down"));
    EXPECT_TRUE(shows("ethInfoLink", "down"));
    ASSERT_TRUE(Bench_do(bench, "remove /sys/class/net/eth0"));
    EXPECT_TRUE(shows("ethInfoLink", "---"));
}

TEST_F(MeterMenus, SensorInformationFollowsItsSensorUntilItHasGone) {
    start();
    plugFirst("serial1", "5132 fwd=25 temp=36.5 freq=13.56MHz");
    tapAll({"single.sensorButton"});
    EXPECT_TRUE(shows("sensorInfoTemperature", "36.5 \u00b0C"));
    EXPECT_TRUE(shows("sensorInfoCarrier", "13.560 MHz"));
    ASSERT_TRUE(Bench_do(bench, "set serial1 temp=41.25"));
    EXPECT_TRUE(shows("sensorInfoTemperature", "41.2 \u00b0C"));
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    EXPECT_TRUE(shows("sensorInfoNote", "The sensor has gone."));
    EXPECT_TRUE(shows("sensorInfoTemperature", "---"));
    EXPECT_TRUE(shows("sensorInfoModel", "5132"));
    tapAll({"sensorInfoDialog_ok"});
    EXPECT_TRUE(becomesVisible("sensorInfoDialog_ok", false));
}

TEST_F(MeterMenus, SerialSettingsReachThePortAndItsFileAndTheServerStays) {
    start();
    ASSERT_TRUE(isAnswered("*OPC?\n", "1\r\n"));
    tapAll({"serialButton", "data7", "stop2", "serSettingsDialog_apply"});
    EXPECT_TRUE(becomesVisible("serSettingsDialog_apply", false));
    EXPECT_TRUE(becomesVisible("serProgress", false));
    EXPECT_THAT(WorldFolder_readFile(bench.world + "/tty/ttyS4"), StartsWith("9600 7 N 2\n"));
    EXPECT_TRUE(fileSays(settingsFile, "serialSpeed 9600\nserialDataBits 7\nserialStopBits 2\n"
                                       "serialParity NONE\n"));
    EXPECT_EQ(askCommandPort("*OPC?\n"), "1\r\n");
}

TEST_F(MeterMenus, SerialSettingsReachThePortOfTheOlderProtocolAndItGoesOn) {
    start({.prepare = [](const std::string& world) {
        WorldFolder_write(world, settingsFile, "useLegacyRS232Commands 1\n");
    }});
    ASSERT_TRUE(isAnswered("U2", " 6610   0100 RS232\r\n"));
    tapAll({"serialButton", "data7", "serSettingsDialog_apply"});
    EXPECT_TRUE(becomesVisible("serSettingsDialog_apply", false));
    EXPECT_TRUE(becomesVisible("serProgress", false));
    EXPECT_THAT(WorldFolder_readFile(bench.world + "/tty/ttyS4"), StartsWith("9600 7 N 1\n"));
    EXPECT_EQ(askCommandPort("U2"), " 6610   0100 RS232\r\n");
}

TEST_F(MeterMenus, AboutShowsTheBenchsIdentityAndVersion) {
    start({.prepare = [](const std::string& world) {
        WorldFolder_write(world, "/usr/local/etc/defconfig/buildInstalled",
                          "BUILD_DATE=2024-10-10T18:59:38\nBUILD_UUID=0f3a-77\n");
    }});
    tapAll({"aboutButton"});
    EXPECT_TRUE(shows("aboutDialogLabelModelStr", "8830K"));
    EXPECT_TRUE(shows("aboutDialogLabelSerialStr", "20260001"));
    EXPECT_TRUE(shows("aboutDialogLabelFwRevStr", "2024-10-10 18:59:38\n0f3a-77"));
}
