#include "MeterTest.h"

#include <csignal>

namespace {

using Signals = MeterTest;

constexpr const char* crashLog = "/tmp/crashlog.txt";
const std::string separator = std::string(60, '=') + "\n";

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

} // namespace

TEST_F(Signals, PoliteSignalsDoNotStopTheInstrument) {
    start();
    const pid_t program = Bench_programId(bench);
    for (const int signal : {SIGTERM, SIGINT}) {
        ASSERT_EQ(kill(program, signal), 0);
    }
    plugFirst("serial1", "5132 fwd=25");
    EXPECT_EQ(Bench_programId(bench), program);
    EXPECT_EQ(Bench_readFile(bench, crashLog), "");
}

TEST_F(Signals, UserSignalLeavesATraceAndGoesOn) {
    start();
    const pid_t program = Bench_programId(bench);
    for (size_t dump = 1; dump <= 2; ++dump) {
        ASSERT_EQ(kill(program, SIGUSR1), 0);
        const auto isWritten = [&] {
            return count(Bench_readFile(bench, crashLog), separator) == 2 * dump;
        };
        ASSERT_TRUE(Bench_waitUntil(isWritten, screenLimit_ms)) << Bench_readFile(bench, crashLog);
    }
    const std::string log = Bench_readFile(bench, crashLog);
    EXPECT_TRUE(log.starts_with(separator));
    EXPECT_TRUE(log.ends_with(separator));
    EXPECT_NE(log.find("QuorvelPowerMeterApp("), std::string::npos) << "names in the trace\n"
                                                                    << log;
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
}

TEST_F(Signals, CrashesLeaveATraceAndExitStatus255) {
    for (const int signal : {SIGSEGV, SIGABRT}) {
        start();
        ASSERT_EQ(kill(Bench_programId(bench), signal), 0);
        EXPECT_EQ(Bench_waitForEnd(bench, screenLimit_ms), 255);
        EXPECT_EQ(count(Bench_readFile(bench, crashLog), separator), 2U);
        Bench_stop(bench);
    }
}

TEST_F(Signals, AThousandMixedSignalsDuringTrafficLoseNothing) {
    start();
    plugFirst("serial1", "5132 fwd=25 rfl=0.5");
    // A busy machine must not be late for the sensor's line.
    setSpeed(slowly);
    const pid_t program = Bench_programId(bench);
    std::string before;
    ASSERT_TRUE(Bench_do(bench, "log serial1", &before));
    constexpr int signals[] = {SIGTERM, SIGINT, SIGUSR1};
    size_t dumps = 0;
    for (int sent = 0; sent < 1000; ++sent) {
        const int signal = signals[sent % 3];
        // Signals of one kind that are pending together are one: each dump is waited for.
        ASSERT_EQ(kill(program, signal), 0);
        if (signal == SIGUSR1) {
            ++dumps;
            const auto isWritten = [&] {
                return count(Bench_readFile(bench, crashLog), separator) == 2 * dumps;
            };
            ASSERT_TRUE(Bench_waitUntil(isWritten, screenLimit_ms))
                << dumps << ": " << Bench_readFile(bench, crashLog);
        }
    }
    std::string log;
    ASSERT_TRUE(Bench_do(bench, "log serial1", &log));
    // A lost byte or a broken read would send the handler back to its first steps: one identity.
    const std::string identify = "-> 49  I";
    EXPECT_EQ(count(log, identify), count(before, identify));
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=49"));
    EXPECT_TRUE(shows("single.fwd.value", "  49.00"));
}
