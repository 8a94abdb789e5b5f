#include "MeterTest.h"

using testing::HasSubstr;

namespace {

constexpr const char* version = "QuorvelPowerMeterApp v3.0.1 built Oct 10 2024 18:59:34\n";
constexpr const char* usage = "QuorvelPowerMeterApp application\n"
                              "Usage: \n"
                              "-v\tPrint version\n"
                              "-?\tPrint this message\n";
constexpr uint32_t endLimit_ms = 30000;

/// Runs the program with arguments that make it end by itself.
class CommandLine : public MeterTest {
protected:
    void run(const std::vector<std::string>& arguments) {
        start({.programArguments = arguments, .waitsForScreen = false});
        EXPECT_EQ(Bench_waitForEnd(bench, endLimit_ms), 0);
    }
};

} // namespace

TEST_F(CommandLine, VersionIsPrintedAndNoHardwareIsTouched) {
    run({"-v"});
    EXPECT_EQ(Bench_output(bench), version);
    EXPECT_EQ(Bench_readFile(bench, "/sys/class/leds/quorvel8830k:KeepOn/brightness"), "0\n");
    EXPECT_EQ(Bench_readFile(bench, "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf"),
              "");
    EXPECT_TRUE(Bench_syslog(bench).empty());
}

TEST_F(CommandLine, OtherOptionsPrintTheUsageForEach) {
    const struct {
        std::vector<std::string> arguments;
        std::string output;
    } cases[] = {
        {{"-?"}, usage},
        {{"-x"}, usage},
        {{"-v", "-?"}, std::string(version) + usage},
        {{"-vx"}, std::string(version) + usage},
    };
    for (const auto& c : cases) {
        run(c.arguments);
        EXPECT_THAT(Bench_output(bench), HasSubstr(c.output));
        Bench_stop(bench);
        bench.printed.clear();
    }
}

TEST_F(CommandLine, PrefixesOfTheStartScriptStartTheMeter) {
    for (const char* argument : {"-prog-args", "-prog-args=1", "--g-fatal-warnings"}) {
        start({.programArguments = {argument}});
        EXPECT_TRUE(becomesVisible("noConnection.title", true)) << argument;
        EXPECT_EQ(Bench_output(bench), "") << argument;
        Bench_stop(bench);
    }
}

TEST_F(CommandLine, AWordThatIsNoOptionStartsTheMeter) {
    start({.programArguments = {"meter"}});
    EXPECT_TRUE(becomesVisible("noConnection.title", true));
}
