// The history of a display as a remote client reads it.
#include "CommandForms.h"
#include "RemoteInstrument.h"
#include "SensorDisplays.h"
#include "SensorTypes.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <poll.h>
#include <span>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

const std::vector<std::string> tracePatterns = {
    "TRACe:DATA?",
    "TRACe:POINts?",
};

namespace {

constexpr const char* noSensor = "-220,\"Parameter error;No sensor connected on the channel\"";
constexpr const char* noChannel = "-220,\"Parameter error;The channel number is not valid\"";

/// Least significant byte first, whatever this machine does.
std::string bytesOf(std::span<const float> samples) {
    std::string bytes;
    for (const float sample : samples) {
        uint32_t bits = 0;
        memcpy(&bits, &sample, sizeof bits);
        for (int byte = 0; byte < 4; ++byte) {
            bytes += static_cast<char>(bits >> (8U * static_cast<unsigned>(byte)));
        }
    }
    return bytes;
}

std::string blockOf(std::span<const float> samples) {
    const std::string bytes = bytesOf(samples);
    const std::string size = std::to_string(bytes.size());
    return "#" + std::to_string(size.size()) + size + bytes;
}

/// A sensor on each channel, and empty histories.
class ScpiTrace : public testing::Test {
protected:
    void SetUp() override {
        for (SensorDisplayInstance& display : sensorDisplays) {
            CGraphData_create(&display.graphDataPwr, graphMaxFilterWidth);
        }
        RemoteInstrument::plug(sensorPort_Serial2, 0);
        RemoteInstrument::plug(sensorPort_USB1, 1);
    }
    void TearDown() override {
        WrappedCalls_reset();
        for (SensorDisplayInstance& display : sensorDisplays) {
            CGraphData_reset(&display.graphDataPwr);
        }
    }
    static void add(SensorDisplayInstance_t display, std::span<const float> samples) {
        for (const float sample : samples) {
            CGraphData_addItem(&sensorDisplays[display].graphDataPwr, sample);
        }
    }
    RemoteInstrument instrument;
};

TEST_F(ScpiTrace, AnswersTheSamplesOldestFirst) {
    const float upper[] = {0.0F, 25.0F, 1e-7F, 1e6F, -1.5F};
    const float lower[] = {4.0F};
    add(UpperDisplay, upper);
    add(LowerDisplay, lower);
    for (const char* line : {"TRAC:DATA?", "trace:data? 1"}) {
        expectExchange(instrument, {line, blockOf(upper) + "\r\n", ""});
    }
    expectExchange(instrument, {"TRAC:DATA? 2", blockOf(lower) + "\r\n", ""});
    expectExchange(instrument, {"TRAC:POIN?;POIN? 1;:TRACE:POINTS? 2", "5;5;1\r\n", ""});
}

TEST_F(ScpiTrace, WritesWattsWithTheLeastSignificantByteFirst) {
    const float sample[] = {25.0F};
    add(UpperDisplay, sample);
    EXPECT_EQ(instrument.send("TRAC:DATA?"), std::string("#14\0\0\xc8\x41\r\n", 9));
}

TEST_F(ScpiTrace, IsEmptyWithoutSamples) {
    expectExchange(instrument, {"TRAC:DATA?;POIN?;DATA? 2;POIN? 2", "#10;0;#10;0\r\n", ""});
}

TEST_F(ScpiTrace, HoldsNoReadingThatWasMissing) {
    const float samples[] = {1.0F, NAN, 2.0F};
    const float kept[] = {1.0F, 2.0F};
    add(UpperDisplay, samples);
    expectExchange(instrument, {"TRAC:DATA?;POIN?", blockOf(kept) + ";2\r\n", ""});
}

TEST_F(ScpiTrace, AnswersRawSamplesWhateverTheGraphAverages) {
    std::vector<float> samples;
    for (int i = 0; i < 200; ++i) {
        samples.push_back(static_cast<float>(i % 17));
    }
    add(UpperDisplay, samples);
    CGraphData_setFilterWidth(&sensorDisplays[UpperDisplay].graphDataPwr, 7);
    EXPECT_EQ(instrument.send("TRAC:DATA?"), blockOf(samples) + "\r\n");
}

/// Takes what the instrument answers while it answers: more than a socket holds.
std::string askForMuch(RemoteInstrument& instrument, const std::string& line) {
    std::string answer;
    std::atomic<bool> isOver{false};
    std::thread client([&] {
        while (!isOver) {
            answer += instrument.readReplies();
            std::this_thread::yield();
        }
        answer += instrument.readReplies();
    });
    EXPECT_TRUE(ScpiLink_receive(&instrument.link, line + "\n"));
    isOver = true;
    client.join();
    return answer;
}

TEST_F(ScpiTrace, AnswersAWholeDay) {
    std::vector<float> samples;
    for (uint32_t i = 0; i < graphRawCapacity + 1; ++i) {
        samples.push_back(static_cast<float>(i) / 8);
    }
    add(UpperDisplay, samples);
    samples.pop_back(); // the buffer was full
    EXPECT_EQ(instrument.send("TRAC:POIN?"), "86463\r\n");
    EXPECT_TRUE(askForMuch(instrument, "TRAC:DATA?") == blockOf(samples) + "\r\n");
    EXPECT_EQ(instrument.errors(), "");
}

TEST_F(ScpiTrace, TakesTheChannelAsOtherQueriesDo) {
    for (const char* header : {"TRAC:DATA?", "TRAC:POIN?"}) {
        const std::string query(header);
        expectExchange(instrument, {query + " 3", "", noChannel});
        expectExchange(instrument, {query + " 0", "", noChannel});
        expectExchange(instrument, {query + " X", "", "-220,\"Parameter error\""});
    }
    expectExchange(instrument, {"TRAC:POIN? 1,2", "0\r\n", "-108,\"Parameter not allowed\""});
    RemoteInstrument::unplug(sensorPort_USB1);
    expectExchange(instrument, {"TRAC:DATA? 2", "", noSensor});
    expectExchange(instrument, {"TRAC:POIN? 2", "", noSensor});
}

TEST_F(ScpiTrace, KeepsItsSamplesForTheNextSensorOfTheChannel) {
    const float samples[] = {1.0F, 2.0F};
    add(LowerDisplay, samples);
    RemoteInstrument::unplug(sensorPort_USB1);
    EXPECT_EQ(instrument.send("TRAC:POIN? 2"), "");
    RemoteInstrument::plug(sensorPort_USB1, 1);
    EXPECT_EQ(instrument.send("TRAC:DATA? 2"), blockOf(samples) + "\r\n");
}

TEST_F(ScpiTrace, FailsWithoutMemory) {
    const float samples[] = {1.0F};
    add(UpperDisplay, samples);
    WrappedCalls_fail(Call::allocateMemory, ENOMEM);
    EXPECT_EQ(instrument.send("TRAC:DATA?"), "");
    EXPECT_EQ(instrument.errors(), "-225,\"Out of memory\"");
    EXPECT_EQ(instrument.send("TRAC:DATA?"), blockOf(samples) + "\r\n");
}

/// The link's far end is a terminal with these data bits.
class SerialLine {
public:
    explicit SerialLine(tcflag_t dataBits) {
        terminal = World_plugTerminal(serialCommandPortName);
        SerialPort_Open(serialCommandPortName);
        termios settings{};
        EXPECT_EQ(SerialPort_GetConfig(&settings), 0);
        settings.c_cflag = (settings.c_cflag & ~static_cast<tcflag_t>(CSIZE)) | dataBits;
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        EXPECT_EQ(SerialPort_SetConfig(&settings), 0);
    }
    ~SerialLine() {
        SerialPort_Close();
        World_unplugTerminal(serialCommandPortName);
        World_resetSerialSettings();
    }
    SerialLine(const SerialLine&) = delete;
    SerialLine& operator=(const SerialLine&) = delete;

    [[nodiscard]] std::string read(size_t size) const {
        std::string bytes(size, '\0');
        size_t got = 0;
        pollfd waited{terminal, POLLIN, 0};
        while (got < size && poll(&waited, 1, 10000) > 0) {
            const ssize_t count = ::read(terminal, bytes.data() + got, size - got);
            got += count > 0 ? static_cast<size_t>(count) : size;
        }
        return bytes;
    }

    /// Ends the line once something has come over it.
    void hangUpInTheMiddle() const {
        pollfd waited{terminal, POLLIN, 0};
        EXPECT_EQ(poll(&waited, 1, 10000), 1);
        World_unplugTerminal(serialCommandPortName);
    }

private:
    int terminal = -1;
};

TEST_F(ScpiTrace, CrossesASerialLineOfEightDataBits) {
    const float samples[] = {25.0F, 1e-3F};
    add(UpperDisplay, samples);
    const SerialLine line(CS8);
    instrument.link.descriptor = SerialPort_getfd();
    EXPECT_TRUE(ScpiLink_receive(&instrument.link, "TRAC:DATA?\n"));
    const std::string expected = blockOf(samples) + "\r\n";
    EXPECT_EQ(line.read(expected.size()), expected);
    instrument.link.descriptor = &instrument.linkEnd;
    EXPECT_EQ(instrument.errors(), "");
}

TEST_F(ScpiTrace, IsRefusedOnALineThatWouldCutItsBytes) {
    const SerialLine line(CS7);
    instrument.link.descriptor = SerialPort_getfd();
    EXPECT_TRUE(ScpiLink_receive(&instrument.link, "TRAC:DATA?;:HCOP:SDUM:DATA?;:TRAC:POIN?\n"));
    EXPECT_EQ(line.read(3), "0\r\n");
    instrument.link.descriptor = &instrument.linkEnd;
    const std::string refusal = "-221,\"Settings conflict;A block needs 8 data bits\"";
    EXPECT_EQ(instrument.errors(), refusal + "\n" + refusal);
}

TEST_F(ScpiTrace, GivesUpALineThatGoesInTheMiddle) {
    const std::vector<float> samples(graphRawCapacity, 1.0F);
    add(UpperDisplay, samples);
    const SerialLine line(CS8);
    instrument.link.descriptor = SerialPort_getfd();
    std::thread cable([&line] { line.hangUpInTheMiddle(); });
    EXPECT_FALSE(ScpiLink_receive(&instrument.link, "TRAC:DATA?\n*OPC?\n"));
    cable.join();
    instrument.link.descriptor = &instrument.linkEnd;
}

TEST_F(ScpiTrace, GivesUpAClientThatHangsUpInTheMiddle) {
    const std::vector<float> samples(graphRawCapacity, 1.0F);
    add(UpperDisplay, samples);
    std::thread client([this] {
        pollfd waited{instrument.clientEnd, POLLIN, 0};
        EXPECT_EQ(poll(&waited, 1, 10000), 1); // and takes nothing of it
        shutdown(instrument.clientEnd, SHUT_RDWR);
    });
    EXPECT_FALSE(ScpiLink_receive(&instrument.link, "TRAC:DATA?\n*OPC?\n"));
    client.join();
}

TEST_F(ScpiTrace, GivesUpAClientThatStopsTakingInTheMiddle) {
    const std::vector<float> samples(graphRawCapacity, 1.0F);
    add(UpperDisplay, samples);
    World_setSpeed(20);
    EXPECT_FALSE(ScpiLink_receive(&instrument.link, "TRAC:DATA?\n"));
    World_setSpeed(1);
    ScpiLink_discard(&instrument.link);
    EXPECT_LT(instrument.readReplies().size(), blockOf(samples).size());
    EXPECT_EQ(instrument.send("*OPC?"), "1\r\n");
}

} // namespace
