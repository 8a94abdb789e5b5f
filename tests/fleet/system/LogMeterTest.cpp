// quorvel-fleet log with the real meter on the bench.

#include "Bench.h"
#include "FleetCsv.h"
#include "FleetProcess.h"
#include "FleetText.h"
#include "WireRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

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

TEST_F(FleetMeterTest, ItsScreenIsAPictureBetweenThePolls) {
    const TestFolder folder;
    const std::string host =
        "127.99." + std::to_string(getpid() / 200 % 200) + "." + std::to_string(getpid() % 200 + 1);
    TestFolder_write(folder.file("fleet.toml"),
                     "listen = \"" + host + ":8830\"\ndatabase = \"" + folder.file("db.sqlite") +
                         "\"\nevery = \"100ms\"\n[[meter]]\naddress = \"127.0.0.1:" +
                         std::to_string(port()) + "\"\n");
    FleetProcess service({"quorvel-fleet", "run", folder.file("fleet.toml")});
    const auto ask = [&host](const std::string& path) {
        const int client = WireRecorder_connect(host, 8830);
        const std::string request = "GET " + path + " HTTP/1.0\r\n\r\n";
        std::string answer;
        std::array<char, 4096> buffer;
        ssize_t count = send(client, request.data(), request.size(), MSG_NOSIGNAL);
        while (count > 0) {
            count = recv(client, buffer.data(), buffer.size(), 0);
            answer.append(buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        }
        close(client);
        return answer;
    };
    const std::string meter = "/api/meters/20260001";
    ASSERT_TRUE(FleetTest_waitUntil([&] {
        return ask(meter).find("\"state\":\"measuring\"") != std::string::npos;
    })) << service.errors();
    for (int times = 0; times < 3; ++times) {
        const std::string answer = ask(meter + "/screen");
        EXPECT_THAT(answer, testing::StartsWith("HTTP/1.0 200 OK"));
        EXPECT_THAT(answer, testing::HasSubstr("\r\n\r\n\x89PNG\r\n"));
        EXPECT_THAT(answer, testing::EndsWith("IEND\xae\x42\x60\x82"));
    }
    EXPECT_THAT(ask(meter), testing::AllOf(testing::HasSubstr("\"state\":\"measuring\""),
                                           testing::HasSubstr("\"reconnects\":0")));
    service.signal(SIGTERM);
    EXPECT_EQ(0, service.end()) << service.errors();
}

} // namespace
