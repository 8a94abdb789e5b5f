#include "MeterTest.h"
#include "WorldFolder.h"

using testing::HasSubstr;

namespace {

using CommandPort = MeterTest;

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr const char* chosen = "serialSpeed 1200\nserialDataBits 7\nserialStopBits 2\n"
                               "serialParity EVEN\n";

std::string lineSettings(const Bench& bench) {
    const std::string text = WorldFolder_readFile(bench.world + "/tty/ttyS4");
    return text.substr(0, text.find('\n'));
}

/// Lets the older meter's protocol have the port, or not, at the next start: without the port the
/// SCPI server would end the program.
void chooseOlderProtocol(const Bench& bench, bool isChosen) {
    constexpr std::string_view key = "useLegacyRS232Commands ";
    std::string text = Bench_readFile(bench, settingsFile);
    const size_t at = text.find(key);
    ASSERT_NE(at, std::string::npos);
    text[at + key.size()] = isChosen ? '1' : '0';
    WorldFolder_write(bench.world, settingsFile, text);
}

} // namespace

TEST_F(CommandPort, WithoutSettingsThePortHasADriversDefaults) {
    start();
    EXPECT_EQ(lineSettings(bench), "9600 8 N 1");
    EXPECT_THAT(Bench_readFile(bench, settingsFile),
                HasSubstr("serialSpeed 9600\nserialDataBits 8\nserialStopBits 1\n"
                          "serialParity NONE\n"));
}

TEST_F(CommandPort, ChosenSettingsSurviveTenRestartsOneOfThemWithoutThePort) {
    for (int restart = 0; restart < 10; ++restart) {
        const bool isMissing = restart == 4;
        BenchOptions options;
        if (restart == 0) {
            options.prepare = [](const std::string& world) {
                WorldFolder_write(world, settingsFile, chosen);
            };
        }
        if (isMissing) {
            options.commands = {"remove /dev/ttyS4"};
        }
        if (restart > 0) {
            chooseOlderProtocol(bench, isMissing);
        }
        ASSERT_TRUE(restart == 0 ? Bench_start(bench, options) : Bench_restart(bench, options));
        if (!isMissing) {
            EXPECT_EQ(lineSettings(bench), "1200 7 E 2") << restart;
        }
        // A sensor whose range changes makes the meter write its file.
        ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=0.001 boot=0s baud=unlimited"));
        ASSERT_TRUE(chooseChannel(1));
        ASSERT_TRUE(waitForReading("single.fwd.value")) << restart;
        const auto isWritten = [&] {
            return Bench_readFile(bench, settingsFile).find("scale_ch1_fwd_scaleIndex 0") !=
                   std::string::npos;
        };
        EXPECT_TRUE(Bench_waitUntil(isWritten, 3000)) << restart;
        EXPECT_THAT(Bench_readFile(bench, settingsFile), HasSubstr(chosen)) << restart;
        ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    }
}
