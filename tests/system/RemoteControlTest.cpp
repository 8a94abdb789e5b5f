#include "MeterTest.h"
#include "WorldFolder.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr int answerLimit_ms = 8000;
constexpr const char* noError = "0,\"No error\"";
constexpr const char* cwMode = "-100,\"Command error;The command is not valid in CW mode.\"";
constexpr uint32_t mirrorLimit_ms = 30000;

/// One end of a link to the meter.
class Link {
public:
    explicit Link(int linkEnd) : end(linkEnd) {}
    ~Link() {
        close(end);
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Sends a line and gives the answer without its end, or what has come until the time was up.
    std::string ask(const std::string& line) const {
        tell(line);
        std::string answer;
        pollfd waited{end, POLLIN, 0};
        while (!answer.ends_with("\n") && poll(&waited, 1, answerLimit_ms) > 0) {
            char buffer[1024];
            const ssize_t count = read(end, buffer, sizeof buffer);
            if (count <= 0) {
                break;
            }
            answer.append(buffer, static_cast<size_t>(count));
        }
        return answer.substr(0, answer.find("\r\n"));
    }
    void tell(const std::string& line) const {
        const std::string bytes = line + "\n";
        EXPECT_EQ(write(end, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

private:
    int end;
};

class RemoteControl : public MeterTest {
protected:
    /// A client of the TCP server.
    [[nodiscard]] int connectTcp() const {
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        // The port is known a moment before the server listens on it.
        const auto isConnected = [&] {
            const std::string port = WorldFolder_readFile(bench.world + "/port.bound");
            address.sin_port = htons(static_cast<uint16_t>(strtoul(port.c_str(), nullptr, 10)));
            return address.sin_port != 0 &&
                   connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
                       0;
        };
        EXPECT_TRUE(Bench_waitUntil(isConnected, mirrorLimit_ms));
        return client;
    }
    /// The meter in pulse mode, with a pulse sensor that comes up as channel 1.
    void startWithPulseSensor(const std::string& sensor) {
        startFast({}, "sensorPulseMode 1\n");
        plug("usb1", sensor);
        ASSERT_TRUE(chooseChannel(1));
    }
    /// Once the sensor measures, it falls silent, and a commit to it begins.
    void commitToSilence(const Link& tcp) {
        ASSERT_TRUE(answers(tcp, "MEAS:AVER?", "10"));
        ASSERT_TRUE(Bench_do(bench, "fault usb1 silence"));
        tcp.tell("*CLS;:SENS:FREQ:AUTO OFF;:SENS:FREQ 15;:SYST:PULS:CONF:COMM");
    }
    /// A terminal on the serial command port.
    [[nodiscard]] int openTerminal() const {
        return open((bench.world + "/command-port").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    /// What comes before the port is served is thrown away.
    static bool isServed(const Link& link) {
        return Bench_waitUntil([&] { return link.ask("*OPC?") == "1"; }, mirrorLimit_ms);
    }
    static testing::AssertionResult answers(const Link& link, const std::string& query,
                                            const std::string& expected) {
        std::string answer;
        const bool isAnswered = Bench_waitUntil(
            [&] { return (answer = link.ask(query + ";:SYST:VERS?")) == expected + ";1999.0"; },
            mirrorLimit_ms);
        return isAnswered ? testing::AssertionSuccess()
                          : testing::AssertionFailure() << query << " answered " << answer;
    }
};

} // namespace

TEST_F(RemoteControl, BothLinksTellWhatTheScreensShow) {
    start();
    const Link tcp(connectTcp());
    const Link terminal(openTerminal());
    ASSERT_TRUE(isServed(terminal));
    EXPECT_THAT(tcp.ask("*IDN?"), StartsWith("QUORVEL-TECHNOLOGIES,8830K,"));
    EXPECT_EQ(terminal.ask("*IDN?"), tcp.ask("*IDN?"));
    plugFirst("serial1", "5132 fwd=25 rfl=2");
    plug("serial2", "5134 fwd=4");
    for (const Link* link : {&tcp, &terminal}) {
        EXPECT_TRUE(answers(*link, "MEAS:AVER?", "25"));
        EXPECT_NEAR(strtod(link->ask("MEAS:REFL:AVER?").c_str(), nullptr), 2, 1e-5);
        EXPECT_TRUE(answers(*link, "MEAS:AVER? 2", "4"));
        EXPECT_EQ(link->ask("SYST:IDEN:SENS? 2"), "5134");
    }
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    const auto isGone = [&] {
        tcp.tell("MEAS:AVER?");
        return tcp.ask("SYST:ERR?") ==
               "-220,\"Parameter error;No sensor connected on the channel\"";
    };
    EXPECT_TRUE(Bench_waitUntil(isGone, mirrorLimit_ms));
    EXPECT_TRUE(answers(terminal, "MEAS:AVER? 2", "4"));
}

TEST_F(RemoteControl, ACommitReachesTheSensor) {
    start();
    plugFirst("usb1", "3164 fwd=10");
    const Link tcp(connectTcp());
    EXPECT_EQ(tcp.ask("SYST:PULS ON;PULS?"), "1");
    EXPECT_EQ(tcp.ask("SENS:FREQ:AUTO OFF;:SENS:FREQ 15;FREQ?"), "15");
    const uint64_t before = lastEntry("usb1");
    tcp.tell("SYST:PULS:CONF:COMM");
    EXPECT_EQ(tcp.ask("SYST:ERR?"), noError);
    const std::string log = logOf("usb1", before);
    EXPECT_THAT(log, HasSubstr("-> SENS:FREQ:AUTO 0\\n"));
    EXPECT_THAT(log, HasSubstr("-> SENS:FREQ 15.000000\\n"));
    tcp.tell("SYST:PULS:CONF");
    EXPECT_EQ(tcp.ask("SENS:FREQ?"), "15");
}

TEST_F(RemoteControl, ACopyIsTakenOfASensorThatHasStartedOnly) {
    startWithPulseSensor("3164 fwd=10 latency=5ms");
    const Link tcp(connectTcp());
    EXPECT_TRUE(answers(tcp, "MEAS:AVER?", "10"));
    const std::string query = "SENS:FREQ?;PER?;:TRIG:LEV?;SLOP?";
    const std::string copy = tcp.ask(query);
    EXPECT_THAT(copy, StartsWith("13.56"));
    tcp.tell("SYST:PULS:CONF");
    EXPECT_EQ(tcp.ask(query), copy) << "the sensor's own";
}

TEST_F(RemoteControl, ACommitDoesNotUndoWhatTheScreenHasApplied) {
    startWithPulseSensor("3164 fwd=10 period=1ms width=250us");
    ASSERT_TRUE(waitForReading("pulse.valueFwd"));
    setSpeed(1); // a reply that a busy machine keeps must not end the commit
    const Link tcp(connectTcp());
    EXPECT_THAT(tcp.ask("SENS:FREQ?;:CALC:GATE:BEG?"), EndsWith(";0"));
    ASSERT_TRUE(Bench_tap(bench, "pulse.btnConfig"));
    ASSERT_TRUE(becomesVisible("pulseConfigDialog", true));
    ASSERT_TRUE(Bench_tap(bench, "pulseConfigGateBegin"));
    for (const char* key : {"pulseConfigKey1", "pulseConfigKey5", "pulseConfigKey0"}) {
        ASSERT_TRUE(Bench_tap(bench, key));
    }
    ASSERT_TRUE(Bench_tap(bench, "pulseConfigApply"));
    ASSERT_TRUE(becomesVisible("pulseConfigDialog", false, readingLimit_ms));
    EXPECT_THAT(tcp.ask("CALC:GATE:BEG?"), StartsWith("0.000150"));
    const uint64_t before = lastEntry("usb1");
    tcp.tell("SENS:FREQ:AUTO OFF;:SENS:FREQ 15;:SYST:PULS:CONF:COMM");
    EXPECT_EQ(tcp.ask("SYST:ERR?"), noError);
    const std::string log = logOf("usb1", before);
    EXPECT_THAT(log, HasSubstr("-> SENS:FREQ 15.000000\\n"));
    EXPECT_THAT(log, Not(HasSubstr("-> CALC:GATE:BEG:DEL 0.000000\\n")));
}

TEST_F(RemoteControl, ACommitEndsWhenPulseModeIsSwitchedOff) {
    startWithPulseSensor("3164 fwd=10 latency=60ms");
    const Link terminal(openTerminal());
    ASSERT_TRUE(isServed(terminal));
    const Link tcp(connectTcp());
    ASSERT_TRUE(answers(tcp, "MEAS:AVER?", "10"));
    for (int frequency = 11; frequency < 15; ++frequency) {
        tcp.tell("*CLS;:SENS:FREQ:AUTO OFF;:SENS:FREQ " + std::to_string(frequency));
        tcp.tell("SYST:PULS:CONF:COMM");
        EXPECT_EQ(terminal.ask("SYST:PULS OFF;PULS?"), "0");
        // It may have been through before.
        EXPECT_THAT(tcp.ask("SYST:ERR?"), AnyOf(noError, cwMode));
        EXPECT_EQ(terminal.ask("SYST:PULS ON;PULS?"), "1");
    }
}

TEST_F(RemoteControl, ACommitToASensorThatFellSilentEnds) {
    startWithPulseSensor("3164 fwd=10");
    const Link tcp(connectTcp());
    commitToSilence(tcp);
    setSpeed(20);
    std::string error;
    EXPECT_TRUE(
        Bench_waitUntil([&] { return !(error = tcp.ask("SYST:ERR?")).empty(); }, mirrorLimit_ms));
    EXPECT_THAT(error, AnyOf("-220,\"Parameter error;The sensor does not answer.\"",
                             "-220,\"Parameter error;No sensor connected on the channel\""));
}

TEST_F(RemoteControl, AClientThatHangsUpInACommitMakesRoomForTheNext) {
    startWithPulseSensor("3164 fwd=10");
    {
        const Link tcp(connectTcp());
        commitToSilence(tcp);
    }
    const Link next(connectTcp());
    EXPECT_EQ(next.ask("SYST:ERR?"), noError);
}

TEST_F(RemoteControl, TheCommandPortIsReadAtTheUsersSpeed) {
    start();
    const Link terminal(openTerminal());
    ASSERT_TRUE(isServed(terminal));
    const Link tcp(connectTcp());
    tcp.tell("SYST:COMM:RS232:BAUD 1200;LENGTH 7;PAR E;REST");
    EXPECT_EQ(tcp.ask("SYST:COMM:RS232:BAUD?;LENGTH?;PAR?"), "1200;7;e");
    EXPECT_EQ(terminal.ask("*OPC?"), "1");
    EXPECT_THAT(Bench_readFile(bench, "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf"),
                HasSubstr("serialSpeed 1200"));
}
