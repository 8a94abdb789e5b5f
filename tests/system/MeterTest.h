#ifndef TESTS_SYSTEM_METER_TEST_H
#define TESTS_SYSTEM_METER_TEST_H

#include "Bench.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <vector>

/// Real time since it was made.
class Stopwatch {
public:
    double elapsed_ms() const {
        const std::chrono::duration<double, std::milli> gone =
            std::chrono::steady_clock::now() - start;
        return gone.count();
    }

private:
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

/// A sanitizer keeps freed memory on purpose, to find those who still use it: there is nothing to
/// measure in such a build.
#ifdef QUORVEL_SANITIZED
constexpr bool memoryCanBeMeasured = false;
#else
constexpr bool memoryCanBeMeasured = true;
#endif

/// Fails the test if the program has grown by more than what its libraries take now and then.
inline void expectSameMemory(const ProgramUse& before, const ProgramUse& after) {
    if (memoryCanBeMeasured) {
        EXPECT_LT(after.resident_kB - before.resident_kB, 1500);
    }
}

/// The whole meter on a bench of its own, as a user has it in hand.
class MeterTest : public testing::Test {
protected:
    void TearDown() override;

    /// Starts the meter; the test ends when it does not come up.
    void start(const BenchOptions& options = {});

    /// The same with time four times as fast (a USB sensor takes several seconds to come up), these
    /// commands of the bench, and these lines in the settings file.
    void startFast(const std::vector<std::string>& commands = {}, const std::string& settings = "");

    /// Plugs the first sensor in, chooses channel 1 or 2 in the dialog, and waits for its readings.
    /// `port` and what follows the model as in "serial1", "5132 fwd=25".
    void plugFirst(const std::string& port, const std::string& sensor, int channel = 1);

    /// Plugs a sensor in whose channel is already decided.
    void plug(const std::string& port, const std::string& sensor);

    /// Answers the channel dialog. False when it does not appear.
    bool chooseChannel(int channel);

    /// Waits until the value line shows a reading: something but blanks.
    bool waitForReading(const std::string& line, uint32_t limit_ms = readingLimit_ms);

    /// Waits for a value and says in the failure what was there instead.
    testing::AssertionResult shows(const std::string& name, const std::string& text,
                                   uint32_t limit_ms = screenLimit_ms);

    /// The same for a widget that must disappear or appear.
    testing::AssertionResult becomesVisible(const std::string& name, bool isVisible,
                                            uint32_t limit_ms = screenLimit_ms);

    /// Waits until a file of the instrument contains a text.
    testing::AssertionResult fileSays(const std::string& file, const std::string& text);

    /// Lets a sensor that was plugged with `stillBooting` come up.
    testing::AssertionResult comesUp(const std::string& port);

    /// Touches OK if the channel dialog is there, and waits until it has gone: a second touch would
    /// meet what lies below it.
    void answerIfAsked();

    /// From now on the meter's time runs at this speed.
    void setSpeed(double speed);

    /// What the stopwatch measures was over within the limit on the meter's clock. A program with a
    /// sanitizer is given several times as long.
    static testing::AssertionResult within(const Stopwatch& watch, double limit_ms,
                                           double speed = 1);

    /// The display follows the sensor's forward power.
    testing::AssertionResult measures(const std::string& port, const std::string& display);

    /// The wire's log after an entry, and the number of the last entry.
    std::string logOf(const std::string& port, uint64_t after);
    uint64_t lastEntry(const std::string& port);
    bool waitForLog(const std::string& port, uint64_t after, const std::string& text);

    /// What comes and stays is waited for: these limits only end a test that has failed.
    static constexpr uint32_t screenLimit_ms = 20000;
    static constexpr uint32_t readingLimit_ms = 40000;

    /// A speed for measuring the meter's own periods: what a busy machine adds weighs little then.
    static constexpr double slowly = 0.25;

    /// The same where a limit leaves only a few hundred milliseconds: they are seconds then.
    static constexpr double verySlowly = 0.1;

    /// Of a sensor whose "Connecting..." a test wants to see, however late it looks.
    static constexpr const char* stillBooting = " boot=1h";

    /// Factor for limits of what takes a program with a sanitizer longer.
    static constexpr uint32_t patience = QUORVEL_PATIENCE;

    Bench bench;
};

/// Files that the meter keeps.
namespace instrumentFile {
constexpr const char* settings = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr const char* pulse = "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf";
} // namespace instrumentFile

/// Names of the channel dialog's parts.
namespace channelDialog {
constexpr const char* window = "sensorSettingsDialog";
constexpr const char* title = "sensorSettingsDialogTitleStr";
constexpr const char* channel1 = "sensorSettingsDialogRadioChan1";
constexpr const char* channel2 = "sensorSettingsDialogRadioChan2";
constexpr const char* ok = "sensorSettingsDialog_ok";
} // namespace channelDialog

#endif
