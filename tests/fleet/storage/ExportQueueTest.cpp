// The export queue of the service's database, with the connection that reads it.

#include "FleetDatabase.h"
#include "FleetHistory.h"
#include "TestFolder.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

namespace {

constexpr int64_t minute_ms = 60'000;
constexpr int64_t hour_ms = 60 * minute_ms;
constexpr int64_t day_ms = 24 * hour_ms;
constexpr int64_t start_ms = 1795305060000;

FleetReading reading(int64_t time_ms, double forward_W) {
    FleetReading made{time_ms, "20260001", 1, "5132", "77", FleetReading_noValues()};
    made.values[fleetForward] = forward_W;
    return made;
}

struct ExportQueueTest : testing::Test {
    TestFolder folder;
    std::string path = folder.file("fleet.sqlite");
    FleetDatabase database;
    SqliteFile reader;
    std::string error;
    size_t labels = 0;

    void SetUp() override {
        open();
    }
    void open() {
        ASSERT_TRUE(FleetDatabase_open(database, path, error)) << error;
        reader = SqliteFile_openToRead(path, error);
        ASSERT_TRUE(reader) << error;
        labels = ExportQueue_label(database.queue, {"A", "Hall", 3});
    }
    void kill() {
        FleetDatabase_close(database);
        database = {};
        open();
    }
    void store(int64_t time_ms, double forward_W) {
        FleetDatabase_add(database, reading(time_ms, forward_W), labels);
        ASSERT_TRUE(FleetDatabase_flush(database, error)) << error;
    }
    void thin(int64_t now_ms, int64_t keep_ms) {
        ASSERT_TRUE(FleetDatabase_thin(database, now_ms, keep_ms, 10 * day_ms, error)) << error;
    }
    /// The forward powers that wait behind a number, which becomes that of the last one.
    std::vector<double> waiting(int64_t& last, int64_t most = 100) {
        std::vector<QueuedReading> readings;
        EXPECT_TRUE(FleetHistory_queued(reader, most, last, readings, error)) << error;
        std::vector<double> powers;
        for (const QueuedReading& queued : readings) {
            powers.push_back(queued.reading.values[fleetForward]);
        }
        return powers;
    }
    std::vector<double> waiting() {
        int64_t last = 0;
        return waiting(last);
    }
    int64_t count(const char* table) {
        const SqliteStatement statement =
            SqliteFile_prepare(database.file, std::string("SELECT count(*) FROM ") + table, error);
        return SqliteFile_askNumber(database.file, statement, error);
    }
    void take(int64_t last) {
        FleetDatabase_noteExported(database, last);
        ASSERT_TRUE(FleetDatabase_flush(database, error)) << error;
    }
};

using Powers = std::vector<double>;

TEST_F(ExportQueueTest, HasWhatIsToBeExportedInTheOrderInWhichItWasStored) {
    store(start_ms + 5, 1);
    store(start_ms + 2, 2); // of a clock that was set back
    FleetDatabase_add(database, reading(start_ms + 9, 3));
    store(start_ms + 7, 4);
    EXPECT_EQ((Powers{1, 2, 4}), waiting());
    EXPECT_EQ(3U, database.queue.count);
    int64_t last = 0;
    EXPECT_EQ((Powers{1, 2}), waiting(last, 2));
    EXPECT_EQ((Powers{4}), waiting(last, 2));
    EXPECT_EQ((Powers{}), waiting(last, 2));
}

TEST_F(ExportQueueTest, AReadingKeepsTheLabelsThatItWasStoredWith) {
    store(start_ms, 1);
    labels = ExportQueue_label(database.queue, {"B", "", 0});
    store(start_ms + 1, 2);
    EXPECT_EQ(0U, ExportQueue_label(database.queue, {"A", "Hall", 3}));
    std::vector<QueuedReading> readings;
    int64_t last = 0;
    ASSERT_TRUE(FleetHistory_queued(reader, 10, last, readings, error));
    ASSERT_EQ(2U, readings.size());
    EXPECT_EQ((ReadingLabels{"A", "Hall", 3}), readings[0].labels);
    EXPECT_EQ((ReadingLabels{"B", "", 0}), readings[1].labels);
    EXPECT_EQ("20260001", readings[1].reading.meter);
    EXPECT_EQ("5132", readings[1].reading.sensor);
    EXPECT_EQ("77", readings[1].reading.sensorSerial);
    EXPECT_EQ(start_ms + 1, readings[1].reading.time_ms);
}

TEST_F(ExportQueueTest, AReadingThatWasThereAlreadyDoesNotEnterAgain) {
    store(start_ms, 1);
    store(start_ms, 1);
    EXPECT_EQ((Powers{1}), waiting());
}

TEST_F(ExportQueueTest, WhatWasTakenLeavesWithTheNextFlushAndWhatCameMeanwhileStays) {
    store(start_ms, 1);
    store(start_ms + 1, 2);
    int64_t last = 0;
    EXPECT_EQ((Powers{1, 2}), waiting(last));
    store(start_ms + 2, 3);
    take(last);
    EXPECT_EQ((Powers{3}), waiting());
    EXPECT_EQ(1U, database.queue.count);
    EXPECT_EQ(3, count("raw"));
}

TEST_F(ExportQueueTest, NumbersGoOnWhenItHasBeenEmpty) {
    int64_t last = 0;
    for (int round = 1; round <= 3; ++round) {
        store(start_ms + round, round);
        EXPECT_EQ((Powers{static_cast<double>(round)}), waiting(last));
        take(last);
    }
    EXPECT_EQ(0U, database.queue.count);
}

TEST_F(ExportQueueTest, SurvivesAKill) {
    store(start_ms, 1);
    store(start_ms + 1, 2);
    int64_t last = 0;
    waiting(last, 1);
    take(last);
    FleetDatabase_noteExported(database, last + 1); // and not flushed
    kill();
    EXPECT_EQ((Powers{2}), waiting());
    EXPECT_EQ(1U, database.queue.count);
    store(start_ms + 3, 3);
    EXPECT_EQ((Powers{2, 3}), waiting());
}

TEST_F(ExportQueueTest, WhatAFullDiskDoesNotTakeEntersLater) {
    store(start_ms, 1);
    labels = ExportQueue_label(database.queue, {"rolled back", "", 0});
    for (int64_t i = 1; i <= 5000; ++i) {
        FleetDatabase_add(database, reading(start_ms + i, 2), labels);
    }
    {
        const FullDisk full(100'000);
        FleetDatabase_noteExported(database, 1);
        EXPECT_FALSE(FleetDatabase_flush(database, error));
        EXPECT_EQ(1U, database.queue.count);
    }
    ASSERT_TRUE(FleetDatabase_flush(database, error)) << error;
    EXPECT_EQ(5000U, database.queue.count);
    int64_t last = 0;
    EXPECT_EQ(5000U, waiting(last, 10'000).size());
}

TEST_F(ExportQueueTest, ReadingsThatWaitAreNotThinnedOutYet) {
    for (int64_t minute = 0; minute < 10; ++minute) {
        store(start_ms + minute * minute_ms, static_cast<double>(minute));
    }
    const int64_t now_ms = start_ms + 10 * minute_ms;
    thin(now_ms, 3 * minute_ms);
    EXPECT_EQ(10, count("raw"));
    int64_t last = 0;
    waiting(last, 4);
    take(last);
    thin(now_ms, 3 * minute_ms);
    EXPECT_EQ(6, count("raw"));
    waiting(last);
    take(last);
    thin(now_ms, 3 * minute_ms);
    EXPECT_EQ(3, count("raw"));
}

TEST_F(ExportQueueTest, AnOlderReadingBehindNewerOnesIsNotThinnedOutEither) {
    store(start_ms + 100 * minute_ms, 1);
    store(start_ms, 2);
    thin(start_ms + 100 * minute_ms, minute_ms);
    EXPECT_EQ((Powers{1, 2}), waiting());
}

TEST_F(ExportQueueTest, WhatWaitsForTooLongIsGivenUpAndCounted) {
    constexpr int64_t keep_ms = 2 * hour_ms;
    store(start_ms, 1);
    store(start_ms + day_ms, 2);
    thin(start_ms + keep_ms + 7 * day_ms, keep_ms);
    EXPECT_EQ((Powers{1, 2}), waiting());
    thin(start_ms + keep_ms + 7 * day_ms + minute_ms, keep_ms);
    EXPECT_EQ((Powers{2}), waiting());
    EXPECT_EQ(1, count("raw"));
    EXPECT_EQ(1U, database.queue.forgotten);
    EXPECT_EQ(1U, database.queue.count);
}

TEST_F(ExportQueueTest, ADatabaseWithoutOneIsBroughtForward) {
    store(start_ms, 1);
    ASSERT_TRUE(SqliteFile_run(database.file,
                               "DROP TABLE export_queue; DROP TABLE export_labels; "
                               "PRAGMA user_version = 1",
                               error));
    kill();
    EXPECT_EQ(1, count("raw"));
    store(start_ms + 1, 2);
    EXPECT_EQ((Powers{2}), waiting());
}

} // namespace
