// Remote working copies on their way to the sensor.
#include "CSimpleTimer.h"
#include "Configuration.h"
#include "PulseMeter.h"
#include "ScpiWorkingCopy.h"
#include "UsbSensorConfig.h"
#include "World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char* cwMode = "-100,\"Command error;The command is not valid in CW mode.\"";
constexpr uint32_t limit_ms = 30000;

TEST(ScpiCommit, HandsTheWholeConfigurationToTheSensor) {
    PulseMeter instrument;
    const FakeUsbSensor sensor(sensorPort_USB1);
    RemoteInstrument::setSensorConfig(sensorPort_USB1, PulseMeter_config());
    expectExchange(instrument, {"SENS:FREQ 100;:TRIG:DEL 0.5;:SYST:PULS:CONF:COMM", "", ""});
    EXPECT_EQ(sensor.received(), 1);
    EXPECT_EQ(sensor.lastConfig().freqVal, 100e6F);
    EXPECT_EQ(sensor.lastConfig().trigDelayVal, 0.5F);
    EXPECT_EQ(sensor.lastConfig().trigLevelVal, 1.5F);
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Syncronized);
}

TEST(ScpiCommit, SendsNothingOfAnUnchangedCopy) {
    PulseMeter instrument;
    const FakeUsbSensor sensor(sensorPort_USB1);
    expectExchange(instrument, {"SYST:PULS:CONF:COMM", "", ""});
    EXPECT_EQ(sensor.received(), 0);
}

TEST(ScpiCommit, ReportsWhatTheSensorRefused) {
    PulseMeter instrument;
    const FakeUsbSensor sensor(sensorPort_USB1, {"Freq is not valid", "Period is not valid"});
    expectExchange(instrument, {"SENS:FREQ 100;:SYST:PULS:CONF:COMM", "",
                                "-220,\"Parameter error;Freq is not valid\"\n"
                                "-220,\"Parameter error;Period is not valid\""});
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Modified);
}

TEST(ScpiCommit, TellsThatTheSensorHasGone) {
    PulseMeter instrument;
    expectExchange(instrument, {"SENS:FREQ 100;:SYST:PULS:CONF:COMM", "",
                                "-220,\"Parameter error;No sensor connected on the channel\""});
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Modified);
}

TEST(ScpiCommit, NeverSendsOneSensorsSettingsToAnother) {
    PulseMeter instrument;
    instrument.send("SENS:FREQ 100");
    RemoteInstrument::unplug(sensorPort_USB1);
    RemoteInstrument::plug(sensorPort_USB1, 0);
    const FakeUsbSensor sensor(sensorPort_USB1);
    expectExchange(instrument, {"SYST:PULS:CONF:COMM", "", ""});
    EXPECT_EQ(sensor.received(), 0);
}

TEST(ScpiCommit, TakesNoSettingOnceTheSensorOfTheCopyHasGone) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_USB1, 0);
    EXPECT_EQ(instrument.send("SENS:FREQ?"), "0\r\n");
    const auto frequency = [](SENSOR_CONFIGS& config) -> float& { return config.freqVal; };
    EXPECT_TRUE(ScpiWorkingCopy_set(0, frequency, 1e6F));
    ScpiRecord_forgetCopy(0);
    EXPECT_FALSE(ScpiWorkingCopy_set(0, frequency, 2e6F));
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, NotInitialized);
    EXPECT_FALSE(ScpiWorkingCopy_set(scpiChannelCount, frequency, 2e6F));
    EXPECT_EQ(instrument.send("SENS:FREQ?"), "0\r\n") << "the new sensor's own";
}

TEST(ScpiCommit, KeepsItsSettingsWhileReadingsPourIn) {
    RemoteInstrument instrument;
    std::atomic<bool> isOver{false};
    std::thread readings([&] {
        while (!isOver) {
            scpiUpdateMeasurement(sensorPort_USB1, SensorMeasurements_none());
        }
    });
    for (int connection = 0; connection < 200; ++connection) {
        RemoteInstrument::plug(sensorPort_USB1, 0);
        EXPECT_EQ(instrument.send("SENS:FREQ 15"), "");
        EXPECT_EQ(instrument.send("MEAS:TEMP?"), "nan\r\n");
        EXPECT_EQ(instrument.send("SENS:FREQ?"), "15\r\n") << connection;
        RemoteInstrument::unplug(sensorPort_USB1);
    }
    isOver = true;
    readings.join();
    EXPECT_EQ(instrument.errors(), "");
}

TEST(ScpiCommit, LetsTheOtherLinkGoOnWhileItWaits) {
    PulseMeter instrument;
    FakeUsbSensor sensor(sensorPort_USB1);
    sensor.isSlow = true;
    instrument.send("SENS:FREQ 100");
    std::thread slowLink([&] { ScpiLink_receive(&instrument.link, "SYST:PULS:CONF:COMM\n"); });
    ASSERT_TRUE(World_waitUntil([&] { return sensor.lastConfig().freqVal == 100e6F; }, limit_ms));

    scpi_t context{};
    ScpiLink other{};
    char input[scpiInputBufferSize];
    scpi_error_t queue[scpiErrorQueueSize];
    ScpiLink_initialize(&other, &context, input, queue);
    ScpiLink_receive(&other, "SENS:FREQ 200\nSENS:FREQ?\n");
    EXPECT_EQ(SCPI_ErrorCount(&context), 0);
    EXPECT_EQ(ScpiRecord_workingCopy(0).config.freqVal, 200e6F);

    sensor.isSlow = false;
    slowLink.join();
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Modified)
        << "changed while the commit was under way";
}

/// A commit on its way to a sensor that leaves it waiting.
struct WaitingCommit : PulseMeter {
    WaitingCommit() : sensor(sensorPort_USB1) {
        sensor.isSlow = true;
        send("SENS:FREQ 100");
        thread = std::thread(
            [this] { isTaken = ScpiLink_receive(&link, "SYST:PULS:CONF:COMM\n*OPC?\n"); });
        EXPECT_TRUE(
            World_waitUntil([this] { return sensor.lastConfig().freqVal == 100e6F; }, limit_ms));
    }
    ~WaitingCommit() {
        World_setSpeed(1);
        if (thread.joinable()) {
            thread.join();
        }
    }
    WaitingCommit(const WaitingCommit&) = delete;
    WaitingCommit& operator=(const WaitingCommit&) = delete;

    /// What has been answered, and the errors, once it is over.
    std::string outcome() {
        thread.join();
        const std::string answered = readReplies();
        return answered + errors();
    }

    FakeUsbSensor sensor;
    std::atomic<bool> isTaken{true};
    std::thread thread;
};

TEST(ScpiCommit, EndsWhenPulseModeIsSwitchedOff) {
    WaitingCommit commit;
    configuration_setPulseMode(false);
    EXPECT_EQ(commit.outcome(), std::string("1\r\n") + cwMode);
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Modified) << "what was staged stays";
}

TEST(ScpiCommit, EndsWhenTheSensorLeaves) {
    WaitingCommit commit;
    UsbSensorConfig_setServing(&sensorUsbHandlerData[0], false);
    EXPECT_EQ(commit.outcome(), "1\r\n-220,\"Parameter error;No sensor connected on the channel\"");
}

TEST(ScpiCommit, EndsAfterHalfAMinute) {
    WaitingCommit commit;
    const uint32_t start_ms = getTime_ms();
    World_setSpeed(50);
    EXPECT_EQ(commit.outcome(), "1\r\n-220,\"Parameter error;The sensor does not answer.\"");
    EXPECT_GT(getTime_ms() - start_ms, 29000U);
}

TEST(ScpiCommit, EndsWithoutAnErrorWhenTheClientHangsUp) {
    WaitingCommit commit;
    close(commit.clientEnd);
    commit.clientEnd = -1;
    commit.thread.join();
    EXPECT_FALSE(commit.isTaken);
    EXPECT_EQ(SCPI_ErrorCount(&commit.context), 0);
}

TEST(ScpiCommit, IsAnsweredForAClientThatOnlySaysNoMore) {
    WaitingCommit commit;
    shutdown(commit.clientEnd, SHUT_WR);
    commit.sensor.isSlow = false;
    EXPECT_EQ(commit.outcome(), "1\r\n");
    EXPECT_TRUE(commit.isTaken);
}

TEST(ScpiCommit, DoesNotWaitLongForAClientThatSaysNoMore) {
    WaitingCommit commit;
    shutdown(commit.clientEnd, SHUT_WR);
    World_setSpeed(20);
    const uint32_t start_ms = getTime_ms();
    EXPECT_EQ(commit.outcome(), "");
    EXPECT_GT(getTime_ms() - start_ms, 4000U);
    EXPECT_FALSE(commit.isTaken);
}

struct Arrangement {
    const char* before; ///< one letter a state, a dot where it is disabled
    const char* after;
};

TEST(ScpiCommit, MovesAtMostThreeEnabledStatesToTheFront) {
    const Arrangement arrangements[] = {{"....", "...."}, {"a...", "a..."}, {".b..", "b..."},
                                        {"...d", "d..."}, {"a.c.", "ac.."}, {".b.d", "bd.."},
                                        {".bcd", "bcd."}, {"a.cd", "acd."}, {"ab.d", "abd."},
                                        {"abc.", "abc."}, {"abcd", "abcd"}};
    for (const Arrangement& arrangement : arrangements) {
        SENSOR_CONFIGS config{};
        for (size_t state = 0; state < 4; ++state) {
            const char letter = arrangement.before[state];
            config.pulseStates[state] = {letter != '.', static_cast<float>(letter), 0};
        }
        ScpiWorkingCopy_arrangeStates(&config);
        std::string after;
        for (const PULSE_STATE_INTVL& state : config.pulseStates) {
            after += state.bEnabled ? static_cast<char>(state.begin) : '.';
        }
        EXPECT_EQ(after, arrangement.after) << arrangement.before;
        EXPECT_EQ(config.numStates, 4 - std::count(after.begin(), after.end(), '.'));
    }
}

} // namespace
