// quorvel-fleet log with the real meter on the bench.

#include "Bench.h"
#include "FleetCsv.h"
#include "FleetProcess.h"
#include "FleetText.h"
#include "WireRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

/// Every query of a line, without its channel.
std::vector<std::string> queriesOf(const std::string& said) {
    std::vector<std::string> queries;
    for (const std::string& line : FleetTest_lines(said)) {
        for (size_t at = 0, end = 0; at < line.size(); at = end + 2) {
            end = std::min(line.find(";:", at), line.size());
            const std::string query = line.substr(at, end - at);
            queries.push_back(query.substr(0, query.find(' ')));
        }
    }
    return queries;
}

struct FleetMeterTest : testing::Test {
    Bench bench;

    void SetUp() override {
        ASSERT_TRUE(Bench_start(bench, {.commands = {"plug serial1 5132 fwd=25 rfl=0.5"}}));
        ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog_ok", true, 30000));
        ASSERT_TRUE(Bench_tap(bench, "sensorSettingsDialog_ok"));
        ASSERT_TRUE(Bench_waitForText(bench, "single.fwd.value", "  25.00", 30000));
    }
    void TearDown() override {
        Bench_stop(bench);
    }
    uint16_t port() const {
        return static_cast<uint16_t>(std::stoi(TestFolder_read(bench.world + "/port.bound")));
    }
};

TEST_F(FleetMeterTest, EveryValueIsTheBenchsAndNothingIsEverSet) {
    WireRecorder wire("127.0.0.1", port());
    const TestFolder folder;
    const std::string file = folder.file("log.csv");
    FleetProcess log({"quorvel-fleet", "log", wire.address(), "--every", "100ms", "--to", file});
    const auto shows = [&](const std::string& text) {
        return FleetTest_waitUntil(
            [&] { return TestFolder_read(file).find(text) != std::string::npos; });
    };
    EXPECT_TRUE(shows(",20260001,1,5132,513200417,25,25,25,0.5")) << TestFolder_read(file);
    Bench_do(bench, "set serial1 fwd=100");
    EXPECT_TRUE(shows(",1,5132,513200417,100,100,100,0.5"));
    Bench_do(bench, "plug usb1 3164 fwd=40 rfl=1 period=1ms width=250us gate=10:12:8");
    EXPECT_TRUE(shows(",3164,316400125,40,40,40,1,1,1,"));
    log.signal(SIGINT);
    EXPECT_EQ(0, log.end()) << log.errors();
    for (const std::string& query : queriesOf(wire.said())) {
        EXPECT_THAT(query, testing::EndsWith("?"));
    }
    EXPECT_THAT(queriesOf(wire.said()), testing::Contains("MEAS:DCYC?"));
}

} // namespace
