#include "SerialCommand.h"

#include "Configuration.h"
#include "SensorDisplays.h"
#include "SensorPortSignals.h"
#include "SerialCommandHandler.h"
#include "SerialCommandSettings.h"
#include "SerialPort.h"
#include "SerialSensors.h"
#include "SerialStatus.h"
#include "SerialTerminal.h"
#include "Threads.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr uint32_t quiet_ms = 60;
constexpr uint32_t recoveryLimit_ms = 10000;
constexpr uint32_t lookingForPort_ms = 3000;
constexpr double lookingSpeed = 10;
constexpr const char* freshStatus = " 6610  FCRYYPYYTT1XF\r\n";

// Before the threads are started, which then read the port for the rest of the process.

TEST(LegacyPortStart, DoesNothingUnlessTheSettingIsOn) {
    restoreDefaultSettings();
    configuration_setUseLegacy(false);
    const SerialTerminal terminal;
    const int32_t before = *SerialPort_getfd();
    World_clearSyslog();
    SerialCommand_Start();
    EXPECT_EQ(*SerialPort_getfd(), before);
    EXPECT_TRUE(World_syslog().empty());
}

TEST(LegacyPortStart, AMissingPortIsReported) {
    World_unplugTerminal(serialCommandPortName);
    World_clearSyslog();
    SerialCommand_Initialize(serialCommandPortName);
    EXPECT_TRUE(World_syslogContains("Could not open /dev/ttyS4"));
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  Serial command interface is not enabled."));
    EXPECT_EQ(*SerialPort_getfd(), -1);
}

TEST(LegacyPortStart, AMissingPortIsNotReadFrom) {
    restoreDefaultSettings();
    configuration_setUseLegacy(true);
    World_unplugTerminal(serialCommandPortName);
    World_clearSyslog();
    const pid_t child = fork(); // the threads stay there
    ASSERT_GE(child, 0);
    if (child == 0) {
        World_setSpeed(lookingSpeed);
        SerialCommand_Start();
        Thread_sleep_ms(lookingForPort_ms);
        _exit(World_syslogContains("read errno") ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(LegacyPortStart, AThreadThatCannotBeStartedIsReported) {
    restoreDefaultSettings();
    configuration_setUseLegacy(true);
    const SerialTerminal terminal;
    World_clearSyslog();
    WrappedCalls_fail(Call::threadCreate, EAGAIN, 2);
    SerialCommand_Start();
    WrappedCalls_reset();
    for (const char* name : {"SerialCommand_InputThread", "SerialCommand_OutputThread"}) {
        EXPECT_TRUE(World_syslogContains(std::string("pthread_create for ") + name +
                                         " failed with error " + strerror(EAGAIN)))
            << name;
    }
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  Serial command interface is not enabled."));
}

size_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

TEST(LegacyPortStart, TheReopeningClosesWhatWasOpen) {
    const SerialTerminal terminal;
    const size_t before = openDescriptors();
    World_clearSyslog();
    SerialCommand_Initialize(serialCommandPortName);
    EXPECT_EQ(openDescriptors(), before);
    SerialPort_Close();
    SerialCommand_Initialize(serialCommandPortName);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(World_syslog().empty()) << "what is not open is not closed";
}

TEST(LegacyPortStart, TheUsersSerialSettingsSurviveTheReopening) {
    const SerialTerminal terminal;
    termios settings{};
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    cfsetispeed(&settings, B1200);
    cfsetospeed(&settings, B1200);
    settings.c_cflag = (settings.c_cflag & ~static_cast<tcflag_t>(CSIZE)) | CS7 | PARENB | CSTOPB;
    ASSERT_EQ(SerialPort_SetConfig(&settings), 0);
    SerialCommand_Initialize(serialCommandPortName);
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "1200 7 E 2");
}

/// The protocol with its two threads, which run for the rest of the process.
class LegacyPort : public testing::Test {
protected:
    LegacyPort() {
        restoreDefaultSettings();
        configuration_setUseLegacy(true);
        SerialSensors_reset();
        static const bool isStarted = [] {
            SerialCommand_Start();
            return true;
        }();
        EXPECT_TRUE(isStarted);
        serial_command_handler_reset();
        SerialStatus_InitializeStatus();
        terminal.send("U1U0");
        EXPECT_EQ(terminal.readLine(), " 6610  VCM VCO FL \r\n");
        EXPECT_EQ(terminal.readLine(), freshStatus);
    }

    std::string ask(std::string_view command) {
        terminal.send(command);
        return terminal.readLine();
    }
    /// Waits until the input thread has dealt with all that was sent.
    void synchronise() {
        EXPECT_EQ(ask("U2"), " 6610   0100 RS232\r\n");
    }

    /// Never closed, since a thread reads it.
    static SerialTerminal& port() {
        static SerialTerminal* const shared = new SerialTerminal;
        return *shared;
    }

    SerialTerminal& terminal = port();
};

TEST_F(LegacyPort, StatusRightAfterStartIsTheInitialOne) {
    EXPECT_EQ(ask("U0"), freshStatus);
    EXPECT_EQ(ask("u0"), freshStatus);
}

TEST_F(LegacyPort, EnterIsAnsweredByTheNextReadingOnly) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_measure(0, 1.0F, 0.0F);
    terminal.send("ent");
    synchronise();
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
    SerialSensors_measure(0, 1.5F, 0.0F);
    EXPECT_EQ(terminal.readLine(), "NFC  1.5000   W\r\n");
    SerialSensors_measure(0, 1.6F, 0.0F);
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
}

TEST_F(LegacyPort, AReadingThatHadBegunBeforeTheRequestIsNotAnAnswer) {
    SerialSensors_show(UpperDisplay, 0);
    SensorPortSignals_beginReading(0);
    SerialSensors_store(0, 1.0F, 0.0F);
    terminal.send("ENT");
    synchronise();
    SensorPortSignals_countReading(0, true);
    SensorPortSignals_tellOfReading();
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
    SerialSensors_measure(0, 1.5F, 0.0F);
    EXPECT_EQ(terminal.readLine(), "NFC  1.5000   W\r\n");
}

TEST_F(LegacyPort, ReadingsOfTheOtherSensorDoNotAnswer) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_show(LowerDisplay, 1);
    terminal.send("ENT");
    synchronise();
    for (int reading = 0; reading < 5; ++reading) {
        SerialSensors_measure(1, 7.0F, 0.0F);
    }
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
    SerialSensors_measure(0, 1.5F, 0.0F);
    EXPECT_EQ(terminal.readLine(), "NFC  1.5000   W\r\n");
}

TEST_F(LegacyPort, AChosenSensorThatIsPulledLeavesTheAnswerToTheOther) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_show(LowerDisplay, 1);
    terminal.send("ENT");
    synchronise();
    sensorPortHandler_setIsConnected(0, false);
    SerialSensors_measure(1, 1.25F, 0.0F);
    EXPECT_EQ(terminal.readLine(), "NFC  1.2500   W\r\n");
}

TEST_F(LegacyPort, WithoutASensorOnADisplayThereIsNoAnswer) {
    terminal.send("ENT");
    synchronise();
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
    SerialSensors_measure(0, 1.5F, 0.0F);
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_measure(0, 1.5F, 0.0F);
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
    EXPECT_EQ(ask("U0"), freshStatus);
}

TEST_F(LegacyPort, TwoRequestsBeforeTheReadingGiveOneAnswer) {
    SerialSensors_show(UpperDisplay, 0);
    terminal.send("ENTENT");
    synchronise();
    SerialSensors_measure(0, 1.5F, 0.0F);
    EXPECT_EQ(terminal.readLine(), "NFC  1.5000   W\r\n");
    SerialSensors_measure(0, 1.6F, 0.0F);
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
}

TEST_F(LegacyPort, ARequestBehindTheDeliveredReadingIsRemembered) {
    SerialSensors_show(UpperDisplay, 0);
    terminal.send("ENT");
    synchronise();
    // Delivered, but its announcement has not reached the output thread yet.
    SensorPortSignals_beginReading(0);
    SerialSensors_store(0, 1.5F, 0.0F);
    SensorPortSignals_countReading(0, true);
    terminal.send("ENT");
    synchronise();
    SensorPortSignals_tellOfReading();
    EXPECT_EQ(terminal.readLine(), "NFC  1.5000   W\r\n");
    SerialSensors_measure(0, 1.6F, 0.0F);
    EXPECT_EQ(terminal.readLine(), "NFC  1.6000   W\r\n");
}

TEST_F(LegacyPort, ModesDecideWhichCommandsAsk) {
    const struct {
        bool commandMode;
        const char* sent;
        const char* answer;
    } cases[] = {
        {false, "T1FC", ""},
        {false, "T1RC", ""},
        {false, "T1FCENT", "NFC  1.5000   W\r\n"},
        {false, "T1RCENT", "NRC   .2500   W\r\n"},
        {false, "T5FC", ""},
        {false, "T5ENT", ""},
        {false, "T5FCENT", "NFC  1.5000   W\r\n"},
        {true, "T1FC", ""},
        {true, "T1FCENT", "NFC  1.5000   W\r\n"},
        {true, "T5FC", "NFC  1.5000   W\r\n"},
        {true, "T5RC", "NRC   .2500   W\r\n"},
        {true, "T5ENT", ""},
    };
    SerialSensors_show(UpperDisplay, 0);
    for (const auto& row : cases) {
        configuration_setCommandModeSW(row.commandMode);
        terminal.send(row.sent);
        synchronise();
        SerialSensors_measure(0, 1.5F, 0.25F);
        EXPECT_EQ(*row.answer == '\0' ? "" : terminal.readLine(), row.answer) << row.sent;
        SerialSensors_measure(0, 1.6F, 0.25F);
        EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "") << row.sent;
    }
    configuration_setCommandModeSW(false);
}

TEST_F(LegacyPort, IgnoredAndInvalidSequencesGiveNoReply) {
    const struct {
        const char* sent;
        const char* status;
    } cases[] = {
        {"YTPYXF", " 6610  VCM VCO FL \r\n"},    {"J0", " 6610  VCM VCO PS \r\n"},
        {"R18", " 6610  VCM ICO FL \r\n"},       {"RXF", " 6610  ICM VCO FL \r\n"},
        {"\r\n*IDN?", " 6610  ICM VCO FL \r\n"}, {"T3", " 6610  VCM ICO FL \r\n"},
        {"QJ9", " 6610  ICM ICO FL \r\n"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(ask(std::string(row.sent) + "U1"), row.status) << row.sent;
    }
    EXPECT_EQ(ask("U0"), freshStatus);
}

/// A sensor that measures for ever; its power tells which reading it is. Where a busy machine keeps
/// the asker from asking, it slows down, so that no power comes round meanwhile.
class BusySensor {
public:
    static constexpr int count = 16000; ///< powers of 20.00 W to 179.99 W
    BusySensor() : thread([this] { run(); }) {}
    ~BusySensor() {
        isStopping = true;
        thread.join();
    }
    BusySensor(const BusySensor&) = delete;
    BusySensor& operator=(const BusySensor&) = delete;
    /// Number of the reading that began last, at which the asker is.
    int latest() {
        const int number = reading;
        askedAt = number;
        return number;
    }
    /// From one reading to a later one.
    static int distance(int from, int to) {
        return (to - from + count) % count;
    }

private:
    void run() {
        while (!isStopping) {
            const int number = (reading + 1) % count;
            SensorPortSignals_beginReading(0);
            reading = number; // not before: a request in between is answered by this reading
            SerialSensors_store(0, 20.0F + static_cast<float>(number) * 0.01F, 0.0F);
            SensorPortSignals_countReading(0, true);
            SensorPortSignals_tellOfReading();
            const int asked = askedAt;
            const bool isFarAhead = asked >= 0 && distance(asked, number) > count / 8;
            const timespec pause = {0, isFarAhead ? 10'000'000 : 50'000};
            nanosleep(&pause, nullptr);
        }
    }
    std::atomic<bool> isStopping{false};
    std::atomic<int> reading{0};
    std::atomic<int> askedAt{-1}; ///< -1 where nobody looks at the numbers
    std::thread thread;
};

TEST_F(LegacyPort, TenThousandRequestsBehindEachOtherAreAllAnsweredWithNewerReadings) {
    SerialSensors_show(UpperDisplay, 0);
    BusySensor sensor;
    terminal.send("R11");
    for (int request = 0; request < 10000; ++request) {
        const int before = sensor.latest();
        terminal.send("ENT");
        const std::string line = terminal.readLine();
        ASSERT_EQ(line.size(), 17U) << request << " " << line;
        const int number =
            static_cast<int>(std::lround((strtod(line.c_str() + 3, nullptr) - 20.0) * 100.0));
        const int newer = BusySensor::distance(before, number);
        ASSERT_TRUE(newer > 0 && newer < BusySensor::count / 2) << request << " " << line;
    }
    EXPECT_EQ(terminal.readUntilQuiet(quiet_ms), "");
}

TEST_F(LegacyPort, AMillionRandomBytesLeaveItAnswering) {
    constexpr int blockCount = 1000;
    constexpr int blockSize = 1000;
    SerialSensors_show(UpperDisplay, 0);
    const BusySensor sensor;
    std::mt19937 random(6610);
    std::uniform_int_distribution<int> byte(0, 255);
    std::thread reader;
    std::atomic<bool> isSent{false};
    size_t unended = 0;
    reader = std::thread([&] {
        do {
            const std::string text = terminal.readUntilQuiet(200);
            unended += !text.empty() && text.back() != '\n' ? 1U : 0U;
        } while (!isSent);
    });
    std::string block(blockSize, '\0');
    for (int count = 0; count < blockCount; ++count) {
        for (char& character : block) {
            character = static_cast<char>(byte(random));
        }
        terminal.send(block);
    }
    isSent = true;
    reader.join();
    EXPECT_EQ(unended, 0U);
    // Whatever was half received ends with the line feed.
    const auto isThroughWithThem = [this] {
        terminal.readUntilQuiet(300);
        terminal.send("\nRYYT1FC");
        terminal.readUntilQuiet(300);
        return ask("U0") == freshStatus;
    };
    EXPECT_TRUE(World_waitUntil(isThroughWithThem, recoveryLimit_ms));
}

TEST_F(LegacyPort, RepliesLeaveSoonAfterTheirReading) {
    constexpr int count = 101;
    std::array<double, count> delays_ms{};
    SerialSensors_show(UpperDisplay, 0);
    for (double& delay_ms : delays_ms) {
        terminal.send("ENT");
        synchronise();
        const auto measured = std::chrono::steady_clock::now();
        SerialSensors_measure(0, 1.5F, 0.0F);
        ASSERT_EQ(terminal.readLine(), "NFC  1.5000   W\r\n");
        delay_ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - measured)
                .count();
    }
    std::ranges::sort(delays_ms);
    EXPECT_LT(delays_ms[count / 2], 50.0);
}

TEST_F(LegacyPort, RepliesOfBothThreadsNeverMixInsideALine) {
    SerialSensors_show(UpperDisplay, 0);
    BusySensor sensor;
    terminal.send("R11");
    for (int round = 0; round < 500; ++round) {
        terminal.send("ENTU2U2U2");
        int readings = 0;
        for (int line = 0; line < 4; ++line) {
            const std::string text = terminal.readLine();
            readings += text.starts_with("NFC ") && text.size() == 17 ? 1 : 0;
            ASSERT_TRUE(text.size() == 17 || text == " 6610   0100 RS232\r\n") << text;
        }
        ASSERT_EQ(readings, 1);
    }
}

double processorTime_s() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

TEST_F(LegacyPort, APortThatHasGoneCostsNoProcessorTimeAndIsServedAgainOnceItIsBack) {
    termios settings{};
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    cfsetspeed(&settings, B1200);
    settings.c_cflag = (settings.c_cflag & ~static_cast<tcflag_t>(CSIZE)) | CS7 | PARENB | CSTOPB;
    ASSERT_EQ(SerialPort_SetConfig(&settings), 0);
    terminal.send("R"); // half a command is lost with its connection
    terminal.unplug();
    const double before = processorTime_s();
    World_setSpeed(4); // 0.4 s of real time: a loop without a pause would use them all
    const timespec pause = {1, 500000000};
    nanosleep(&pause, nullptr);
    World_setSpeed(1);
    EXPECT_LT(processorTime_s() - before, 0.05);
    World_clearSyslog();
    terminal.plugAgain();
    ASSERT_TRUE(World_waitUntil([] { return World_syslogContains("/dev/ttyS4 is open again"); },
                                recoveryLimit_ms));
    EXPECT_EQ(ask("U0"), freshStatus);
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "1200 7 E 2");
    SerialSensors_show(UpperDisplay, 0);
    const BusySensor sensor;
    EXPECT_TRUE(ask("ENT").starts_with("NFC "));
    cfsetspeed(&settings, B9600);
    settings.c_cflag = (settings.c_cflag & ~static_cast<tcflag_t>(CSIZE | PARENB | CSTOPB)) | CS8;
    EXPECT_EQ(SerialPort_SetConfig(&settings), 0);
}

} // namespace
