#include "MeterTest.h"
#include "WorldFolder.h"

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <unistd.h>

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
/// SCPI server would end the program. While no meter runs, which would write the file, too.
void chooseOlderProtocol(const std::string& world, bool isChosen) {
    constexpr std::string_view key = "useLegacyRS232Commands ";
    std::string text = WorldFolder_read(world, settingsFile);
    const size_t at = text.find(key);
    ASSERT_NE(at, std::string::npos);
    text[at + key.size()] = isChosen ? '1' : '0';
    WorldFolder_write(world, settingsFile, text);
}

} // namespace

TEST_F(CommandPort, WithoutSettingsThePortHasADriversDefaults) {
    start();
    // The server writes the file once it has the port.
    EXPECT_TRUE(fileSays(settingsFile, "serialSpeed 9600\nserialDataBits 8\nserialStopBits 1\n"
                                       "serialParity NONE\n"));
    EXPECT_EQ(lineSettings(bench), "9600 8 N 1");
}

TEST_F(CommandPort, ABreakBeforeACommandIsPassedOver) {
    start();
    const int peer =
        open((bench.world + "/command-port").c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(peer, 0);
    // A break arrives as a zero byte.
    constexpr ssize_t size = 7;
    constexpr std::string_view command("\0*OPC?\n", size);
    // What comes before the port is served is thrown away.
    const auto isAnswered = [&] {
        std::array<char, 16> reply{};
        pollfd waited{peer, POLLIN, 0};
        return write(peer, command.data(), command.size()) == size && poll(&waited, 1, 1000) > 0 &&
               read(peer, reply.data(), reply.size()) > 0 &&
               std::string_view(reply.data()).starts_with("1");
    };
    EXPECT_TRUE(Bench_waitUntil(isAnswered, screenLimit_ms));
    close(peer);
}

TEST_F(CommandPort, ChosenSettingsSurviveTenRestartsOneOfThemWithoutThePort) {
    for (int restart = 0; restart < 10; ++restart) {
        const bool isMissing = restart == 4;
        BenchOptions options;
        options.prepare = [restart, isMissing](const std::string& world) {
            if (restart == 0) {
                WorldFolder_write(world, settingsFile, chosen);
            } else {
                chooseOlderProtocol(world, isMissing);
            }
        };
        if (isMissing) {
            options.commands = {"remove /dev/ttyS4"};
        }
        ASSERT_TRUE(restart == 0 ? Bench_start(bench, options) : Bench_restart(bench, options));
        if (!isMissing) {
            // While the server takes the port over, it has been closed for a moment.
            EXPECT_TRUE(Bench_waitUntil([&] { return lineSettings(bench) == "1200 7 E 2"; },
                                        screenLimit_ms))
                << restart << ": " << lineSettings(bench);
        }
        // A sensor whose range changes makes the meter write its file.
        ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=0.001 boot=0s baud=unlimited"));
        ASSERT_TRUE(chooseChannel(1));
        ASSERT_TRUE(waitForReading("single.fwd.value")) << restart;
        const auto isWritten = [&] {
            return Bench_readFile(bench, settingsFile).find("scale_ch1_fwd_scaleIndex 0") !=
                   std::string::npos;
        };
        EXPECT_TRUE(Bench_waitUntil(isWritten, screenLimit_ms)) << restart;
        EXPECT_THAT(Bench_readFile(bench, settingsFile), HasSubstr(chosen)) << restart;
        ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    }
}
