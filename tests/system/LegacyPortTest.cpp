// The older meter's protocol on the command port, as a host at the other end of the cable sees it.

#include "MeterTest.h"
#include "ScpiClient.h"
#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <random>
#include <unistd.h>

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr const char* legacySettings = "useLegacyRS232Commands 1\n";
constexpr const char* freshStatus = " 6610  FCRYYPYYTT1XF\r\n";
constexpr const char* quickSensor = " boot=0s baud=unlimited";
constexpr int replyLimit_ms = 30000; ///< a machine may stand still for more than ten seconds
constexpr int quiet_ms = 400;
constexpr int requestCount = 10000;

/// As the bench's signals count it while its clock is real.
double now_s() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Exchange {
    std::string sent;
    std::string reply;
};

/// What stands behind a "> " in the manual's section on this protocol, and below it.
std::vector<Exchange> documentedExchanges() {
    std::ifstream manual(QUORVEL_REMOTE_CONTROL_MANUAL);
    std::vector<Exchange> exchanges;
    bool isInSection = false;
    for (std::string line; std::getline(manual, line);) {
        isInSection = isInSection || line == "## The older meter's RS232 protocol";
        if (isInSection && line.starts_with("> ")) {
            const std::string sent = line.substr(2);
            std::getline(manual, line);
            exchanges.push_back({sent, line});
        }
    }
    return exchanges;
}

/// Without its line end and the blanks before it, which a page does not show.
std::string shownLine(const std::string& reply) {
    return reply.substr(0, reply.find_last_not_of(" \r\n") + 1);
}

/// The host's end of the cable.
class Host {
public:
    ~Host() {
        close(port);
    }
    bool connect(const Bench& bench) {
        port = open((bench.world + "/command-port").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        return port >= 0;
    }
    bool send(std::string_view bytes) const {
        return write(port, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    /// What arrives up to a line feed, or until it has been quiet for so long.
    std::string readLine(int limit_ms = replyLimit_ms) {
        while (received.find('\n') == std::string::npos && receive(limit_ms)) {
        }
        const size_t end = received.find('\n');
        const std::string line = received.substr(0, end == std::string::npos ? end : end + 1);
        received.erase(0, line.size());
        return line;
    }
    std::string ask(std::string_view command) {
        send(command);
        return readLine();
    }
    /// The reply to another command than before, behind late ones to what was asked again.
    std::string askBehind(std::string_view late, std::string_view command) {
        std::string reply = ask(command);
        while (reply == late) {
            reply = readLine();
        }
        return reply;
    }
    void discard() {
        while (receive(quiet_ms)) {
        }
        received.clear();
    }

private:
    bool receive(int limit_ms) {
        pollfd input{port, POLLIN, 0};
        std::array<char, 1024> piece;
        if (poll(&input, 1, limit_ms) <= 0) {
            return false;
        }
        const ssize_t count = read(port, piece.data(), piece.size());
        received.append(piece.data(), count > 0 ? static_cast<size_t>(count) : 0);
        return count > 0;
    }
    int port = -1;
    std::string received;
};

class LegacyPort : public MeterTest {
protected:
    void startLegacy(const std::string& furtherSettings = "") {
        const std::string lines = legacySettings + furtherSettings;
        start({.prepare = [lines](const std::string& world) {
            WorldFolder_write(world, settingsFile, lines);
        }});
        ASSERT_TRUE(host.connect(bench));
        // What comes before the port is served may be thrown away, or be answered as late as that.
        ASSERT_TRUE(
            Bench_waitUntil([this] { return host.ask("U0") == freshStatus; }, readingLimit_ms));
        ASSERT_EQ(host.askBehind(freshStatus, "U2"), " 6610   0100 RS232\r\n");
    }
    void startWithSensor(const std::string& sensor, const std::string& furtherSettings = "") {
        startLegacy(furtherSettings);
        plugFirst("serial1", sensor + quickSensor);
    }

    Host host;
};

std::string watts(double power_W, const char* label = "FC") {
    char text[32];
    snprintf(text, sizeof text, "N%s % 7.2f   W\r\n", label, power_W);
    return text;
}

} // namespace

TEST_F(LegacyPort, EveryCommandHasItsReply) {
    startWithSensor("5132 fwd=25 rfl=0.5");
    const struct {
        const char* sent;
        const char* reply;
    } cases[] = {
        {"ENT", "NFC   25.00   W\r\n"},
        {"RCENT", "NRC   .5000   W\r\n"},
        {"FCENT", "NFC   25.00   W\r\n"},
        {"ent", "NFC   25.00   W\r\n"},
        {"R10ENT", "OFC  199.99   W\r\n"},
        {"R12ENT", "NFC   .0250  KW\r\n"},
        {"U0", " 6610  FCR12PYYTT1XF\r\n"},
        {"RYYRNNU0", " 6610  FCR12PYYTT1XF\r\n"},
        {"RYYENT", "NFC   25.00   W\r\n"},
        {"U0", freshStatus},
        {"u1", " 6610  VCM VCO FL \r\n"},
        {"J0U1", " 6610  VCM VCO PS \r\n"},
        {"YTPYXFU1", " 6610  VCM VCO FL \r\n"},
        {"RXQU1", " 6610  ICM ICO FL \r\n"}, // Q is not the F that X waits for
        {"U1", " 6610  VCM VCO FL \r\n"},
        {"R18U1", " 6610  VCM ICO FL \r\n"},
        {"?U1", " 6610  ICM VCO FL \r\n"},
        {"U2", " 6610   0100 RS232\r\n"},
        {"T5U0", " 6610  FCRYYPYYTT5XF\r\n"},
        {"RCENT", "NRC   .5000   W\r\n"},
        {"INTU0", " 6610  RCRYYPYYTT1XF\r\n"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(host.ask(row.sent), row.reply) << row.sent;
    }
    for (int range = 0; range <= 17; ++range) {
        char command[16];
        char reply[32];
        snprintf(command, sizeof command, "FCR%02dU0", range);
        snprintf(reply, sizeof reply, " 6610  FCR%02dPYYTT1XF\r\n", range);
        EXPECT_EQ(host.ask(command), reply);
    }
}

TEST_F(LegacyPort, TheManualsExchangesAreThoseOfARun) {
    startWithSensor("5132 fwd=25 rfl=0.5");
    ASSERT_TRUE(Bench_writeFile(bench, "/usr/local/etc/defconfig/buildInstalled",
                                "BUILD_HOSTNAME=builder\nBUILD_DATE=2024-10-10T18:59:38\n"
                                "BUILD_UUID=1234\n"));
    const std::vector<Exchange> exchanges = documentedExchanges();
    EXPECT_GE(exchanges.size(), 10U);
    for (const Exchange& exchange : exchanges) {
        EXPECT_EQ(shownLine(host.ask(exchange.sent)), exchange.reply) << exchange.sent;
    }
}

TEST_F(LegacyPort, AddressesAndBuildAreThoseOfTheInstrument) {
    startLegacy();
    ASSERT_TRUE(Bench_writeFile(bench, "/usr/local/etc/defconfig/buildInstalled",
                                "BUILD_HOSTNAME=builder\nBUILD_DATE=2024-10-10T18:59:38\n"
                                "BUILD_UUID=1234\n"));
    EXPECT_THAT(host.ask("UA"), testing::MatchesRegex(
                                    "UA [0-9a-f:]*;[0-9.]*;builder 2024-10-10T18:59:38 1234\r\n"));
}

TEST_F(LegacyPort, TheFirstDisplaysSensorAnswersAndTheOtherWhenItIsPulled) {
    startLegacy();
    ASSERT_TRUE(host.send("ENT"));
    EXPECT_EQ(host.readLine(quiet_ms), "");
    plugFirst("serial1", std::string("5132 fwd=25") + quickSensor, 2);
    // What was asked without a sensor is answered by the first reading if the display has the
    // sensor by then, and otherwise not at all.
    host.discard();
    EXPECT_EQ(host.ask("ENT"), watts(25));
    host.discard();
    plug("serial2", std::string("5132 fwd=40") + quickSensor);
    ASSERT_TRUE(shows("upper.fwd.value", "  40.00", readingLimit_ms));
    EXPECT_EQ(host.ask("ENT"), watts(40));
    ASSERT_TRUE(Bench_do(bench, "unplug serial2"));
    ASSERT_TRUE(shows("single.fwd.value", "  25.00", readingLimit_ms));
    EXPECT_EQ(host.ask("ENT"), watts(25));
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected", readingLimit_ms));
    ASSERT_TRUE(host.send("ENT"));
    EXPECT_EQ(host.readLine(quiet_ms), "");
    EXPECT_EQ(host.ask("U0"), freshStatus);
}

TEST_F(LegacyPort, InCommandModeASelectionIsAnsweredOnce) {
    startWithSensor("5132 fwd=25 rfl=20", "legacyCommandModeSW 1\n");
    ASSERT_TRUE(host.send("T5"));
    EXPECT_EQ(host.ask("FC"), watts(25));
    EXPECT_EQ(host.readLine(quiet_ms), "");
    EXPECT_EQ(host.ask("RC"), watts(20, "RC"));
    ASSERT_TRUE(host.send("ENT"));
    EXPECT_EQ(host.readLine(quiet_ms), "");
}

TEST_F(LegacyPort, MoreThanTheSensorStandsIsOverflow) {
    startWithSensor("5132 fwd=100 max=80");
    EXPECT_EQ(host.ask("ENT"), "OFC  199.99   W\r\n");
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=90"));
    EXPECT_EQ(host.ask("ENT"), watts(90));
}

TEST_F(LegacyPort, EveryReadingWasMeasuredAfterItsRequest) {
    startWithSensor("5132 fwd=20");
    plug("serial2", std::string("5132 fwd=sine:1:9:1s") + quickSensor);
    ASSERT_TRUE(becomesVisible("lower.fwd.value", true, readingLimit_ms));
    for (int request = 0; request < requestCount; ++request) {
        const int power_W = 20 + request % 100;
        ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=" + std::to_string(power_W)));
        ASSERT_EQ(host.ask("ENT"), watts(power_W)) << request;
    }
}

TEST_F(LegacyPort, RequestsBehindTheRepliesAreAllAnsweredWithNewAndFreshReadings) {
    constexpr double from_W = 0.2;
    constexpr double to_W = 1.8;
    constexpr double ramp_s = 120;
    constexpr double slope = (to_W - from_W) / ramp_s;
    constexpr double resolution_W = 0.0001;
    constexpr double freshness_ms = 50;
    startWithSensor("5132 fwd=0.2");
    ASSERT_TRUE(host.send("R09"));
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=ramp:0.2:1.8:120s"));
    const double after_s = now_s(); // the ramp has begun: readings are at least as old as this says
    std::vector<double> ages_ms;
    for (int request = 0; request < requestCount; ++request) {
        const double asked_s = now_s();
        const std::string reply = host.ask("ENT");
        const double answered_s = now_s();
        ASSERT_THAT(reply, testing::MatchesRegex("NFC  [ 0-9][.][0-9]{4}   W\r\n")) << request;
        const double power_W = strtod(reply.c_str() + 3, nullptr);
        ASSERT_GE(power_W + resolution_W, std::min(to_W, from_W + slope * (asked_s - after_s)))
            << "measured before request " << request;
        if (power_W < to_W - resolution_W) {
            ages_ms.push_back(1000 * (answered_s - after_s - (power_W - from_W) / slope));
        }
    }
    EXPECT_EQ(host.readLine(quiet_ms), "");
    std::ranges::sort(ages_ms);
    EXPECT_LT(ages_ms.at(ages_ms.size() / 2), freshness_ms * patience);
}

TEST_F(LegacyPort, AMillionRandomBytesLeaveItAnswering) {
    startWithSensor("5132 fwd=25");
    std::mt19937 random(8830);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string block(1000, '\0');
    for (int sent = 0; sent < 1000; ++sent) {
        for (char& character : block) {
            character = static_cast<char>(byte(random));
        }
        ASSERT_TRUE(host.send(block));
        while (!host.readLine(0).empty()) {
        }
    }
    const auto isThroughWithThem = [this] {
        host.discard();
        host.send("\nT1FCRYY");
        host.discard();
        return host.ask("U0") == freshStatus;
    };
    EXPECT_TRUE(Bench_waitUntil(isThroughWithThem, readingLimit_ms));
    EXPECT_EQ(host.ask("ENT"), watts(25));
    EXPECT_NE(Bench_programId(bench), 0);
}

TEST_F(LegacyPort, AMissingPortLeavesTheMeterAtWork) {
    start({.commands = {"remove /dev/ttyS4"}, .prepare = [](const std::string& world) {
               WorldFolder_write(world, settingsFile, legacySettings);
           }});
    for (const char* said :
         {"Could not open /dev/ttyS4", "Serial command interface is not enabled."}) {
        EXPECT_TRUE(
            Bench_waitUntil([&] { return Bench_countInSyslog(bench, said) > 0; }, readingLimit_ms))
            << said;
    }
    plugFirst("serial1", "5132 fwd=25");
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
}

TEST_F(LegacyPort, TheUsersSerialSettingsSurviveTheStart) {
    startLegacy("serialSpeed 1200\nserialDataBits 7\nserialStopBits 2\nserialParity EVEN\n");
    const std::string text = WorldFolder_readFile(bench.world + "/tty/ttyS4");
    EXPECT_EQ(text.substr(0, text.find('\n')), "1200 7 E 2");
}

TEST_F(LegacyPort, RemoteControlOverTcpStaysAvailable) {
    startWithSensor("5132 fwd=25");
    ScpiClient client(bench);
    ASSERT_TRUE(client.isConnected());
    EXPECT_THAT(client.ask("*IDN?"), testing::HasSubstr("8830K"));
    EXPECT_EQ(host.ask("ENT"), watts(25));
    ASSERT_TRUE(host.send("*IDN?\n")); // means nothing to the older meter but its letters
    EXPECT_EQ(host.readLine(quiet_ms), "");
}

TEST_F(LegacyPort, WithoutTheSettingThePortIsNotTheOlderMeters) {
    start();
    ASSERT_TRUE(host.connect(bench));
    ASSERT_TRUE(
        Bench_waitUntil([this] { return host.ask("*OPC?\n") == "1\r\n"; }, readingLimit_ms));
    ASSERT_EQ(host.askBehind("1\r\n", "*TST?\n"), "0\r\n");
    ASSERT_TRUE(host.send("U0\n"));
    EXPECT_EQ(host.readLine(quiet_ms), "");
    EXPECT_THAT(host.ask("*IDN?\n"), testing::HasSubstr("8830K"));
}
