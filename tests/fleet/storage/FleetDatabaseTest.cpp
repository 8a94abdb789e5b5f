#include "FleetDatabase.h"

#include "FleetCsv.h"
#include "TestFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sqlite3.h>

namespace {

constexpr int64_t minute_ms = 60'000;
constexpr int64_t start_ms = 1795305060000; // on a minute

FleetReading reading(int64_t time_ms, double forward_W, int channel = 1) {
    FleetReading made{time_ms, "20260001", channel, "5132", "77", FleetReading_noValues()};
    made.values[fleetForward] = made.values[fleetForwardMin] = made.values[fleetForwardMax] =
        forward_W;
    return made;
}

struct FleetDatabaseTest : testing::Test {
    TestFolder folder;
    std::string path = folder.file("fleet.sqlite");
    FleetDatabase database;
    std::string error;

    void SetUp() override {
        ASSERT_TRUE(FleetDatabase_open(database, path, error)) << error;
    }
    void add(const FleetReading& made) {
        FleetDatabase_add(database, made);
    }
    void flush() {
        ASSERT_TRUE(FleetDatabase_flush(database, error)) << error;
    }
    std::string ask(const std::string& query) {
        const SqliteStatement statement = SqliteFile_prepare(database.file, query, error);
        if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) {
            return "nothing: " + error;
        }
        const unsigned char* text = sqlite3_column_text(statement.get(), 0);
        return text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
    }
    void kill() {
        FleetDatabase_close(database);
        database = {};
        ASSERT_TRUE(FleetDatabase_open(database, path, error)) << error;
    }
};

TEST_F(FleetDatabaseTest, ReadingsAreSeenUnderTheNamesOfALog) {
    add(reading(start_ms + 8123, 25));
    flush();
    EXPECT_EQ(FleetCsv_header(),
              ask("SELECT group_concat(name) FROM pragma_table_info('readings')") + "\n");
    EXPECT_EQ("2026-11-21T23:51:08.123Z,20260001,1,5132,77,25.0",
              ask("SELECT concat FROM (SELECT time || ',' || meter || ',' || channel || ',' || "
                  "sensor || ',' || sensor_serial || ',' || forward_W AS concat FROM readings)"));
    EXPECT_EQ("1", ask("SELECT vswr IS NULL FROM readings"));
}

TEST_F(FleetDatabaseTest, AReadingIsStoredOnce) {
    add(reading(start_ms, 25));
    add(reading(start_ms, 25));
    flush();
    add(reading(start_ms, 25));
    add(reading(start_ms, 25, 2));
    flush();
    EXPECT_EQ("2", ask("SELECT count(*) FROM readings"));
}

TEST_F(FleetDatabaseTest, MinutesHaveLeastMeanAndGreatest) {
    add(reading(start_ms, 10));
    add(reading(start_ms + 30'000, 40));
    add(reading(start_ms + 59'999, 10));
    add(reading(start_ms + minute_ms, 7));
    flush();
    ASSERT_TRUE(FleetDatabase_summarize(database, start_ms + minute_ms + 5000, 100, error))
        << error;
    EXPECT_EQ("1", ask("SELECT count(*) FROM minutes")); // the other one is not over
    EXPECT_EQ("1", ask("SELECT count = 3 AND forward_W = 20 AND forward_min_W = 10 AND "
                       "forward_max_W = 40 FROM minutes"));
    ASSERT_TRUE(FleetDatabase_summarize(database, start_ms + 2 * minute_ms, 100, error)) << error;
    EXPECT_EQ("2", ask("SELECT count(*) FROM minutes"));
}

TEST_F(FleetDatabaseTest, MinutesThatAKillHasPreventedAreMadeLater) {
    for (int64_t minute = 0; minute < 5; ++minute) {
        add(reading(start_ms + minute * minute_ms, 10));
    }
    flush();
    ASSERT_TRUE(FleetDatabase_summarize(database, start_ms + minute_ms, 100, error));
    kill();
    ASSERT_TRUE(FleetDatabase_summarize(database, start_ms + 10 * minute_ms, 100, error));
    EXPECT_EQ("5", ask("SELECT count(*) FROM minutes"));
}

TEST_F(FleetDatabaseTest, MinutesAreMadeOfAFewSourcesAtATime) {
    for (const int channel : {1, 2}) {
        add(reading(start_ms, 10, channel));
    }
    flush();
    for (const char* made : {"1", "2", "2"}) {
        ASSERT_TRUE(FleetDatabase_summarize(database, start_ms + minute_ms, 1, error)) << error;
        EXPECT_EQ(made, ask("SELECT count(*) FROM minutes"));
    }
}

TEST_F(FleetDatabaseTest, OldReadingsGoAndTheirMinutesStay) {
    for (int64_t minute = 0; minute < 10; ++minute) {
        add(reading(start_ms + minute * minute_ms, 10));
        FleetDatabase_addEvent(database, {start_ms + minute * minute_ms, "1", 0, "meter gone", ""});
    }
    flush();
    const int64_t now_ms = start_ms + 10 * minute_ms;
    ASSERT_TRUE(FleetDatabase_summarize(database, now_ms, 100, error));
    ASSERT_TRUE(FleetDatabase_thin(database, now_ms, 3 * minute_ms, 8 * minute_ms, error)) << error;
    EXPECT_EQ("3", ask("SELECT count(*) FROM raw"));
    EXPECT_EQ("8", ask("SELECT count(*) FROM minutes"));
    EXPECT_EQ("8", ask("SELECT count(*) FROM events"));
    ASSERT_TRUE(FleetDatabase_summarize(database, now_ms, 100, error));
    EXPECT_EQ("8", ask("SELECT count(*) FROM minutes"));
}

TEST_F(FleetDatabaseTest, OldReadingsOfManySourcesGoLittleByLittle) {
    constexpr int64_t sources = 50;
    constexpr int64_t rows = 200; ///< of each, one of them young
    for (int64_t source = 0; source < sources; ++source) {
        for (int64_t row = 1; row < rows; ++row) {
            FleetReading made = reading(start_ms + row, 1);
            made.meter = std::to_string(source);
            add(made);
        }
        FleetReading young = reading(start_ms + 2 * minute_ms, 1);
        young.meter = std::to_string(source);
        add(young);
    }
    flush();
    int64_t left = sources * rows;
    while (left > sources) {
        ASSERT_TRUE(
            FleetDatabase_thin(database, start_ms + 3 * minute_ms, minute_ms, minute_ms, error))
            << error;
        const int64_t now = std::stoll(ask("SELECT count(*) FROM raw"));
        ASSERT_LT(now, left);
        ASSERT_GT(now, left - 3000); // nobody waits for long
        left = now;
    }
    EXPECT_EQ(sources, left);
}

TEST_F(FleetDatabaseTest, AnIndexOfEarlierVersionsGoes) {
    ASSERT_TRUE(SqliteFile_run(
        database.file, "CREATE INDEX raw_by_time ON raw (time_ms); PRAGMA user_version = 2", error))
        << error;
    add(reading(start_ms, 25));
    flush();
    kill();
    EXPECT_EQ("3", ask("PRAGMA user_version"));
    EXPECT_EQ("0", ask("SELECT count(*) FROM sqlite_schema WHERE name = 'raw_by_time'"));
    EXPECT_EQ("1", ask("SELECT count(*) FROM readings"));
}

TEST_F(FleetDatabaseTest, EventsAreStoredInTheirOrder) {
    FleetDatabase_addEvent(database, {start_ms, "20260001", 1, "sensor came", "51\"32', <x>"});
    FleetDatabase_addEvent(database, {start_ms, "20260001", 1, "sensor left", ""});
    flush();
    EXPECT_EQ("sensor came/51\"32', <x>",
              ask("SELECT kind || '/' || detail FROM events ORDER BY id"));
    EXPECT_EQ("2", ask("SELECT count(*) FROM events"));
}

TEST_F(FleetDatabaseTest, WhatAFullDiskDoesNotTakeFollowsLater) {
    add(reading(start_ms, 1));
    flush();
    for (int64_t i = 1; i <= 5000; ++i) {
        FleetReading made = reading(start_ms + i, 1);
        made.sensorSerial = std::to_string(i % 10); // sources that are rolled back, too
        add(made);
    }
    {
        const FullDisk full(100'000);
        EXPECT_FALSE(FleetDatabase_flush(database, error));
        EXPECT_NE("", error);
        EXPECT_EQ("1", ask("SELECT count(*) FROM readings"));
    }
    flush();
    EXPECT_EQ("5001", ask("SELECT count(*) FROM readings"));
    EXPECT_EQ("11", ask("SELECT count(DISTINCT sensor_serial) FROM readings"));
}

TEST_F(FleetDatabaseTest, WhatWasFlushedSurvivesAKill) {
    add(reading(start_ms, 1));
    flush();
    add(reading(start_ms + 1, 1));
    kill();
    EXPECT_EQ("1", ask("SELECT count(*) FROM readings"));
    EXPECT_EQ("ok", ask("PRAGMA integrity_check"));
}

TEST_F(FleetDatabaseTest, OfManyChannelsSomeAreStoredAtATimeEachWithAllItsReadings) {
    constexpr int64_t channels = 100;
    constexpr int64_t rows = 30; ///< of each
    for (int64_t row = 0; row < rows; ++row) {
        for (int64_t channel = 0; channel < channels; ++channel) {
            FleetReading made = reading(start_ms + row, 1);
            made.meter = std::to_string(channel);
            add(made);
        }
    }
    FleetDatabase_addEvent(database, {start_ms, "1", 0, "meter came", ""});
    size_t flushes = 0;
    for (; FleetDatabase_waiting(database) > 0; ++flushes) {
        ASSERT_TRUE(FleetDatabase_flushSome(database, error)) << error;
        if (flushes == 0) {
            EXPECT_EQ("1", ask("SELECT count(*) FROM events"));
            EXPECT_EQ("1",
                      ask("SELECT count(*) >= 10 FROM (SELECT count(*) AS rows FROM raw GROUP BY "
                          "source) WHERE rows = 30"));
            add(reading(start_ms + rows, 1)); // which waits for its round
        }
        ASSERT_LE(flushes, 20U);
    }
    EXPECT_GE(flushes, 10U);
    EXPECT_EQ(std::to_string(channels * rows + 1), ask("SELECT count(*) FROM raw"));
}

TEST_F(FleetDatabaseTest, FewReadingsAreStoredAtOnce) {
    for (int64_t i = 0; i < 100; ++i) {
        add(reading(start_ms + i, 1, i % 2 == 0 ? 1 : 2));
    }
    ASSERT_TRUE(FleetDatabase_flushSome(database, error)) << error;
    EXPECT_EQ("100", ask("SELECT count(*) FROM raw"));
}

TEST_F(FleetDatabaseTest, MemoryIsBounded) {
    for (size_t i = 0; i <= fleetDatabaseMostWaiting; ++i) {
        FleetDatabase_add(database, {});
    }
    EXPECT_LE(FleetDatabase_waiting(database), fleetDatabaseMostWaiting);
    EXPECT_EQ(fleetDatabaseMostWaiting + 1, FleetDatabase_waiting(database) + database.lost);
}

TEST_F(FleetDatabaseTest, TheLogIsBroughtIntoTheFileByAnotherConnectionAndBeginsAnew) {
    int64_t time_ms = start_ms;
    const auto store = [&] {
        add(reading(++time_ms, 25));
        flush();
    };
    const auto size = [this] { return std::filesystem::file_size(path); };
    while (!FleetDatabase_isCheckpointDue(database) && time_ms < start_ms + 5'000) {
        store();
    }
    const int most = database.logPages;
    EXPECT_GE(most, 1000);
    const auto before = size();
    store();
    EXPECT_FALSE(FleetDatabase_isCheckpointDue(database)); // it was told
    EXPECT_EQ(before, size());                             // this connection makes none
    const SqliteFile other = SqliteFile_openToCheckpoint(path, error);
    ASSERT_TRUE(other) << error;
    EXPECT_TRUE(SqliteFile_checkpoint(other, error)) << error;
    EXPECT_GT(size(), before);
    store();
    EXPECT_LT(database.logPages, most);
    while (!FleetDatabase_isCheckpointDue(database) && time_ms < start_ms + 10'000) {
        store();
    }
    EXPECT_NEAR(most, database.logPages, 20);
    EXPECT_EQ(std::to_string(time_ms - start_ms), ask("SELECT count(*) FROM raw"));
}

} // namespace
