#include "MeterTest.h"

namespace {

using Disk = MeterTest;

/// Passes that the screens' thread has traced so far.
size_t passesOf(Bench& bench) {
    const std::string& printed = Bench_output(bench);
    size_t count = 0;
    for (size_t at = printed.find("loop count"); at != std::string::npos;
         at = printed.find("loop count", at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST_F(Disk, PassesKeepTheirPeriodWhileASlowOneTakesEveryRange) {
    constexpr size_t measured = 12;
    constexpr double longestPass_ms = 310;
    constexpr double busyMachine = 1.3; // waiting for the disk, a pass would take 800 ms and more
    start();
    plugFirst("serial1", "5132 fwd=5");
    ASSERT_TRUE(fileSays(instrumentFile::settings, "scale_ch1_fwd_scaleIndex 5"));
    ASSERT_TRUE(Bench_writeFile(bench, "/tmp/logConfig", "ThreadMonitor\n"));
    ASSERT_TRUE(Bench_writeFile(bench, "/tmp/debug", ""));
    ASSERT_TRUE(Bench_do(bench, "disk slow=500ms"));
    // Another range in nearly every pass.
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=sine:0.5:100:1300ms"));
    setSpeed(slowly);
    const size_t before = passesOf(bench);
    ASSERT_TRUE(Bench_waitUntil([&] { return passesOf(bench) > before; }, readingLimit_ms));
    const Stopwatch sinceFirst;
    ASSERT_TRUE(
        Bench_waitUntil([&] { return passesOf(bench) > before + measured; }, readingLimit_ms));
    EXPECT_TRUE(within(sinceFirst, measured * longestPass_ms * busyMachine, slowly));
    setSpeed(1);
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=50"));
    EXPECT_TRUE(fileSays(instrumentFile::settings, "scale_ch1_fwd_scaleIndex 6"));
}

TEST_F(Disk, TheLastRangeIsSavedBeforeTheMeterSwitchesOff) {
    start();
    plugFirst("serial1", "5132 fwd=5");
    ASSERT_TRUE(fileSays(instrumentFile::settings, "scale_ch1_fwd_scaleIndex 5"));
    // Longer than the pause before the command, shorter than what the meter waits then.
    ASSERT_TRUE(Bench_do(bench, "disk slow=4500ms"));
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=50"));
    ASSERT_TRUE(shows("single.fwd.value", "  50.00"));
    ASSERT_TRUE(Bench_do(bench, "switch"));
    ASSERT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, readingLimit_ms));
    EXPECT_THAT(Bench_readFile(bench, instrumentFile::settings),
                testing::HasSubstr("scale_ch1_fwd_scaleIndex 6\n"));
}

TEST_F(Disk, AFullOneLosesNothingThatIsSetAgainLater) {
    start();
    ASSERT_TRUE(Bench_do(bench, "disk full"));
    plugFirst("serial1", "5132 fwd=5");
    EXPECT_TRUE(shows("single.fwd.value", "  5.000"));
    EXPECT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "Unable to open settings file") > 0; },
        readingLimit_ms));
    EXPECT_THAT(Bench_readFile(bench, instrumentFile::settings),
                testing::HasSubstr("scale_ch1_fwd_scaleIndex 7\n"));
    ASSERT_TRUE(Bench_do(bench, "disk none"));
    ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=50"));
    EXPECT_TRUE(fileSays(instrumentFile::settings, "scale_ch1_fwd_scaleIndex 6"));
}
