// quorvel-fleet run with a crowd of meters.

#include "FleetProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace {

using testing::HasSubstr;

struct FleetServiceTest : testing::Test {
    TestFolder folder;
    std::string database = folder.file("fleet.sqlite");

    std::string configure(const std::string& name, const std::string& text) {
        TestFolder_write(folder.file(name), text);
        return folder.file(name);
    }
    std::string head(const std::string& more) const {
        return "listen = \"\"\ndatabase = \"" + database + "\"\n" + more + "\n";
    }
    static std::string meters(const TestCrowd& crowd, size_t count) {
        std::string text;
        for (size_t meter = 1; meter <= count; ++meter) {
            text += "[[meter]]\naddress = \"" + crowd.address(meter) + "\"\n";
        }
        return text;
    }
    std::string ask(const std::string& query) const {
        const FleetRun run =
            FleetProcess_run({"/usr/bin/sqlite3", "-cmd", ".timeout 5000", database, query});
        return run.output.substr(0, run.output.find_last_not_of('\n') + 1);
    }
    bool eventually(const std::string& query) const {
        return FleetTest_waitUntil([&] { return ask(query) == "1"; });
    }
};

TEST_F(FleetServiceTest, KeepsReadingsAndEventsUntilItIsEnded) {
    const TestCrowd crowd(2, {"--channels", "2"});
    const std::string file = configure(
        "fleet.toml", head("every = \"100ms\"") + meters(crowd, 2) +
                          "[[meter.channel]]\nchannel = 2\noffset_dB = 10\nforward_high_W = 100\n");
    FleetProcess service({"quorvel-fleet", "run", file});
    EXPECT_TRUE(
        eventually("SELECT count(*) > 20 AND count(DISTINCT meter || channel) = 4 FROM readings"))
        << service.errors();
    EXPECT_TRUE(eventually("SELECT count(*) = 4 FROM events WHERE kind = 'sensor came'"));
    EXPECT_TRUE(eventually("SELECT count(*) = 2 FROM events WHERE kind = 'meter came'"));
    // Channel 2 of meter 2 has 22 W, give or take a tenth, of which the offset makes some 220; what
    // is stored is raw.
    EXPECT_TRUE(
        eventually("SELECT count(*) = 1 FROM events WHERE kind = 'limit exceeded' AND "
                   "meter = 90000002 AND channel = 2 AND detail LIKE 'forward_high_W 100: %' AND "
                   "CAST(substr(detail, 21) AS REAL) BETWEEN 190 AND 250"));
    EXPECT_EQ("1", ask("SELECT max(forward_W) < 30 FROM readings"));
    service.signal(SIGTERM);
    EXPECT_EQ(0, service.end());
    EXPECT_EQ("ok", ask("PRAGMA integrity_check"));
}

TEST_F(FleetServiceTest, TellsWhenMetersGoAndComeBack) {
    const TestCrowd crowd(2, {"--fault", "restart:2", "--period", "2s"});
    FleetProcess service({"quorvel-fleet", "run",
                          configure("fleet.toml", head("every = \"100ms\"") + meters(crowd, 2))});
    EXPECT_TRUE(eventually(
        "SELECT count(*) > 0 FROM events WHERE kind = 'meter gone' AND meter = 90000002"))
        << service.errors();
    EXPECT_TRUE(eventually(
        "SELECT count(*) > 0 FROM events WHERE kind = 'meter back' AND meter = 90000002"));
    EXPECT_EQ("0",
              ask("SELECT count(*) FROM events WHERE kind = 'meter gone' AND meter = 90000001"));
}

TEST_F(FleetServiceTest, KillsLoseNothingThatWasStoredAndStoreNothingTwice) {
    const TestCrowd crowd(20);
    const std::string file = configure("fleet.toml", head("every = \"50ms\"") + meters(crowd, 20));
    std::string before = "0";
    for (int kills = 0; kills < 6; ++kills) {
        FleetProcess service({"quorvel-fleet", "run", file});
        ASSERT_TRUE(eventually("SELECT count(*) > " + before + " + 100 FROM raw"))
            << service.errors();
        service.signal(SIGKILL);
        EXPECT_EQ(-SIGKILL, service.end());
        EXPECT_EQ("1", ask("SELECT count(*) >= " + before + " + 100 FROM raw"));
        before = ask("SELECT count(*) FROM raw");
    }
    EXPECT_EQ("ok", ask("PRAGMA integrity_check"));
    EXPECT_EQ("1", ask("SELECT count(*) = count(DISTINCT source || ' ' || time_ms) FROM raw"));
}

TEST_F(FleetServiceTest, WhatIsInTheLogComesIntoTheFileWhileItRuns) {
    const TestCrowd crowd(100);
    const std::string config = head("every = \"20ms\"") + meters(crowd, 100);
    FleetProcess service({"quorvel-fleet", "run", configure("fleet.toml", config)});
    EXPECT_TRUE(FleetTest_waitUntil([&] {
        return std::filesystem::exists(database) &&
               std::filesystem::file_size(database) > 1'000'000;
    })) << service.errors();
    const std::string before = ask("SELECT count(*) FROM raw");
    EXPECT_TRUE(eventually("SELECT count(*) > " + before + " FROM raw"));
    service.signal(SIGTERM);
    EXPECT_EQ(0, service.end()) << service.errors();
    EXPECT_FALSE(std::filesystem::exists(database + "-wal")); // all of it, in the end
    EXPECT_EQ("ok", ask("PRAGMA integrity_check"));
}

TEST_F(FleetServiceTest, SharesAreDisjointAndLeaveNobodyOut) {
    const TestCrowd crowd(12);
    const auto start = [&](const std::string& share) {
        database = folder.file(share.substr(0, 1) + ".sqlite");
        return configure(share.substr(0, 1) + ".toml",
                         head("every = \"500ms\"\nshare = \"" + share + "\"") + meters(crowd, 12));
    };
    // A meter serves one client at a time: whose it is not hangs up at once.
    FleetProcess first({"quorvel-fleet", "run", start("1/2")});
    FleetProcess second({"quorvel-fleet", "run", start("2/2")});
    EXPECT_TRUE(FleetTest_waitUntil([&] {
        return ask("ATTACH '" + folder.file("1.sqlite") +
                   "' AS other; SELECT (SELECT count(DISTINCT meter) FROM other.readings) + "
                   "(SELECT count(DISTINCT meter) FROM readings) = 12") == "1";
    })) << first.errors()
        << second.errors();
    EXPECT_EQ("0",
              ask("ATTACH '" + folder.file("1.sqlite") +
                  "' AS other; SELECT count(*) FROM sources JOIN other.sources USING (meter)"));
}

TEST_F(FleetServiceTest, AMeterWithTwoAddressesIsWatchedOnce) {
    const TestCrowd one(1);
    const TestCrowd same(1);
    FleetProcess service(
        {"quorvel-fleet", "run",
         configure("fleet.toml", head("every = \"100ms\"") + meters(one, 1) + meters(same, 1))});
    EXPECT_TRUE(FleetTest_waitUntil([&] {
        return service.errors().find("is read at another address already") != std::string::npos;
    })) << service.errors();
}

TEST_F(FleetServiceTest, AConfigurationThatIsWrongIsToldWithItsLine) {
    const std::string file = configure("fleet.toml", "every = \"1s\"\nbogus = 1\n");
    const std::string right = configure("right.toml", "[[meter]]\naddress = \"a\"\n");
    for (const char* option : {"--check", ""}) {
        std::vector<std::string> words{"quorvel-fleet", "run", file};
        if (*option != '\0') {
            words.emplace_back(option);
        }
        const FleetRun run = FleetProcess_run(words);
        EXPECT_EQ(2, run.status);
        EXPECT_EQ("quorvel-fleet: " + file + ":2: unknown key 'bogus'\n", run.errors);
    }
    const FleetRun checked = FleetProcess_run({"quorvel-fleet", "run", "--check", right});
    EXPECT_EQ(0, checked.status);
    EXPECT_EQ(right + ": nothing is wrong\n", checked.output);
    EXPECT_EQ(2, FleetProcess_run({"quorvel-fleet", "run", folder.file("none.toml")}).status);
    EXPECT_EQ(2, FleetProcess_run({"quorvel-fleet", "run"}).status);
}

TEST_F(FleetServiceTest, WhatCannotBeDoneIsAFailureInOneLine) {
    TestFolder_write(database, std::string(5000, 'x'));
    const std::string broken = configure("broken.toml", head("") + "[[meter]]\naddress = \"a\"\n");
    const std::string nobody = configure("nobody.toml", head(""));
    for (const std::string& file : {broken, nobody}) {
        const FleetRun run = FleetProcess_run({"quorvel-fleet", "run", file});
        EXPECT_EQ(1, run.status);
        EXPECT_EQ(1U, FleetTest_lines(run.errors).size()) << run.errors;
    }
}

} // namespace
