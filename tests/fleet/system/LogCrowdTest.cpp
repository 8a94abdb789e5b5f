// quorvel-fleet log with a crowd of meters.

#include "FleetCsv.h"
#include "FleetProcess.h"
#include "FleetText.h"
#include "WireRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <map>
#include <pty.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;

constexpr size_t timeField = 0;
constexpr size_t meterField = 1;
constexpr size_t forwardField = 5;

std::vector<std::string> logWords(const std::vector<std::string>& words) {
    std::vector<std::string> all{"quorvel-fleet", "log"};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

double number(const std::string& text) {
    return FleetText_parseNumber(text).value_or(-1);
}

/// Rows without the header, which must be the first line.
std::vector<std::vector<std::string>> rowsOf(const std::string& csv) {
    std::vector<std::string> lines = FleetTest_lines(csv);
    std::vector<std::vector<std::string>> rows;
    EXPECT_EQ('\n', csv.back());
    EXPECT_EQ(FleetCsv_header(), lines.front() + "\n");
    for (size_t i = 1; i < lines.size(); ++i) {
        rows.push_back(FleetTest_fields(lines[i]));
        EXPECT_EQ(fleetColumnCount, rows.back().size()) << lines[i];
    }
    return rows;
}

std::map<std::string, size_t> rowsPerMeter(const std::string& csv) {
    std::map<std::string, size_t> counts;
    for (const std::vector<std::string>& row : rowsOf(csv)) {
        ++counts[row[meterField]];
    }
    return counts;
}

size_t lineCount(const std::string& text) {
    return FleetTest_lines(text).size();
}

size_t countOf(const std::string& part, const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(FleetLog, WritesARowForEachReadingInTheOrderOfTheirTimes) {
    const TestCrowd crowd(2, {"--channels", "2"});
    FleetProcess log(logWords({crowd.address(1), crowd.address(2), "--every", "100ms"}));
    for (const char* source : {"90000001,1", "90000001,2", "90000002,1", "90000002,2"}) {
        EXPECT_TRUE(FleetTest_waitUntil([&] {
            return countOf(std::string(",") + source + ",", log.output()) > 5;
        })) << source;
    }
    log.signal(SIGINT);
    EXPECT_EQ(0, log.end());
    std::map<std::string, std::string> lastTimes;
    for (const std::vector<std::string>& row : rowsOf(log.output())) {
        const std::string source = row[meterField] + "/" + row[2];
        EXPECT_GT(row[timeField], lastTimes[source]);
        lastTimes[source] = row[timeField];
        EXPECT_EQ("5132", row[3]);
        EXPECT_EQ(row[forwardField], row[forwardField + 1]);
        EXPECT_EQ(row[forwardField], row[forwardField + 2]);
        EXPECT_EQ("13.56", row[12]);
        EXPECT_EQ("36.5", row[13]);
    }
    EXPECT_THAT(log.errors(), HasSubstr(" readings of 2 meters in 0:0"));
}

TEST(FleetLog, AnInterruptLeavesAWholeFileAndASummary) {
    const TestCrowd crowd(1);
    const TestFolder folder;
    const std::string file = folder.file("log.csv");
    for (const int ending : {SIGINT, SIGTERM}) {
        FleetProcess log(logWords({crowd.address(1), "--every", "20ms", "--to", file}));
        const size_t before = lineCount(TestFolder_read(file));
        ASSERT_TRUE(
            FleetTest_waitUntil([&] { return lineCount(TestFolder_read(file)) > before + 5; }));
        log.signal(ending);
        EXPECT_EQ(0, log.end());
        const size_t written = rowsOf(TestFolder_read(file)).size();
        EXPECT_THAT(log.errors(), HasSubstr(" of 1 meter in "));
        EXPECT_GT(written, before); // the second log goes on with the file of the first
    }
}

TEST(FleetLog, ARowOfManyPollsHasMeanLeastAndGreatest) {
    const TestCrowd crowd(1);
    const FleetRun run = FleetProcess_run(
        logWords({crowd.address(1), "--poll", "50ms", "--every", "1s", "--for", "3s"}));
    const auto rows = rowsOf(run.output);
    ASSERT_GE(rows.size(), 2U);
    EXPECT_LE(rows.size(), 4U);
    bool hasMoved = false;
    for (const auto& row : rows) {
        EXPECT_LE(number(row[forwardField + 1]), number(row[forwardField]));
        EXPECT_GE(number(row[forwardField + 2]), number(row[forwardField]));
        hasMoved = hasMoved || row[forwardField + 1] != row[forwardField + 2];
    }
    EXPECT_TRUE(hasMoved);
}

TEST(FleetLog, ADatabaseHoldsTheSameRows) {
    const TestCrowd crowd(1, {"--sensor", "a,b \"c\" <script>%s%n'"});
    const TestFolder folder;
    const std::string file = folder.file("log.sqlite");
    FleetProcess log(logWords({crowd.address(1), "--every", "100ms", "--to", file}));
    const auto ask = [&file] {
        return FleetProcess_run({"/usr/bin/sqlite3", file,
                                 "SELECT count(*) > 3, sensor, meter, user_version FROM readings, "
                                 "pragma_user_version"})
            .output;
    };
    EXPECT_TRUE(FleetTest_waitUntil([&] { return ask().starts_with("1|"); }));
    log.signal(SIGINT);
    EXPECT_EQ(0, log.end()) << log.errors();
    EXPECT_EQ("1|a,b \"c\" <script>%s%n'|90000001|1\n", ask());
}

TEST(FleetLog, OddSensorNamesAreQuoted) {
    const TestCrowd crowd(1, {"--sensor", "a,b \"c\" <script>%s%n"});
    const FleetProcess log(logWords({crowd.address(1), "--every", "100ms"}));
    EXPECT_TRUE(FleetTest_waitUntil([&log] { return lineCount(log.output()) > 1; }));
    EXPECT_THAT(log.output(), HasSubstr(",90000001,1,\"a,b \"\"c\"\" <script>%s%n\",11,"));
}

TEST(FleetLog, FaultyMetersDoNotDisturbTheOthersAndComeBack) {
    const TestCrowd crowd(4, {"--fault", "restart:2", "--fault", "vanish:3", "--fault", "garbage:4",
                              "--period", "2s"});
    const TestFolder folder;
    const std::string file = folder.file("log.csv");
    FleetProcess log(logWords({crowd.address(1), crowd.address(2), crowd.address(3),
                               crowd.address(4), "--every", "100ms", "--to", file}));
    const auto hasSaid = [&log](const std::string& text) {
        return FleetTest_waitUntil([&] { return log.errors().find(text) != std::string::npos; });
    };
    for (size_t meter = 2; meter <= 4; ++meter) {
        EXPECT_TRUE(hasSaid(crowd.address(meter) + ": gone: ")) << log.errors();
        EXPECT_TRUE(hasSaid(crowd.address(meter) + ": back\n")) << log.errors();
    }
    EXPECT_THAT(log.errors(), testing::Not(HasSubstr(crowd.address(1) + ": gone")));
    log.signal(SIGINT);
    EXPECT_EQ(0, log.end());
    auto counts = rowsPerMeter(TestFolder_read(file));
    for (const char* meter : {"90000002", "90000003", "90000004"}) {
        EXPECT_GT(counts[meter], 0U);
        EXPECT_GT(counts["90000001"], counts[meter]);
    }
    EXPECT_THAT(log.errors(), testing::Not(HasSubstr(" 0 gaps")));
}

TEST(FleetLog, AtFiveSecondsTheMeterIsFreeBetweenPolls) {
    const TestCrowd crowd(1);
    const TestFolder folder;
    const std::string file = folder.file("log.csv");
    FleetProcess log(logWords({crowd.address(1), "--every", "5s", "--to", file}));
    ASSERT_TRUE(FleetTest_waitUntil([&] { return lineCount(TestFolder_read(file)) > 1; }));
    const int other = WireRecorder_connect(crowd.address(1), 5025);
    const timeval limit{30, 0};
    std::array<char, 100> answer{};
    ASSERT_GE(other, 0);
    setsockopt(other, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    send(other, "*OPC?\n", 6, MSG_NOSIGNAL);
    EXPECT_EQ(3, recv(other, answer.data(), answer.size(), 0));
    close(other);
    log.signal(SIGINT);
    EXPECT_EQ(0, log.end());
}

TEST(FleetLog, HoldKeepsTheConnection) {
    const TestCrowd crowd(1);
    WireRecorder wire(crowd.address(1), 5025);
    const auto polls = [&wire] { return countOf("MEAS:AVER? 1", wire.said()); };
    FleetProcess leaving(logWords({wire.address(), "--every", "5s"}));
    EXPECT_TRUE(FleetTest_waitUntil([&polls] { return polls() >= 2; }));
    leaving.signal(SIGINT);
    EXPECT_EQ(0, leaving.end());
    const size_t before = polls();
    EXPECT_EQ(before, wire.clients());
    FleetProcess holding(logWords({wire.address(), "--every", "5s", "--hold"}));
    EXPECT_TRUE(FleetTest_waitUntil([&] { return polls() >= before + 2; }));
    holding.signal(SIGINT);
    EXPECT_EQ(0, holding.end());
    EXPECT_EQ(before + 1, wire.clients());
}

TEST(FleetLog, ATerminalSeesTheProgress) {
    const TestCrowd crowd(1);
    int terminal = -1;
    const std::string program =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "quorvel-fleet";
    const std::string address = crowd.address(1);
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl(program.c_str(), program.c_str(), "log", address.c_str(), "--every", "100ms", "--for",
              "2500ms", "--to", "/dev/null", nullptr);
        _exit(127);
    }
    std::string shown;
    std::array<char, 1024> buffer;
    // A terminal whose last program has ended cannot be read any more.
    for (ssize_t count = 0; count >= 0; count = read(terminal, buffer.data(), buffer.size())) {
        shown.append(buffer.data(), static_cast<size_t>(count));
    }
    int status = -1;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_EQ(0, status);
    EXPECT_THAT(shown, testing::ContainsRegex(
                           "readings, [0-9.]+/s, [0-9]+ gaps?, 1 of 1 meter, 0:00:0[01] left"));
}

} // namespace
