#include "ReadingFile.h"

#include "FleetCsv.h"
#include "TestFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sqlite3.h>

namespace {

FleetReading reading(int64_t time_ms) {
    FleetReading made{time_ms, "20260001", 1, "51\"32", "77", FleetReading_noValues()};
    made.values[fleetForward] = 9.99999974737875e-05;
    made.values[fleetState1Mean + 11] = 12.5;
    return made;
}

struct ReadingFileTest : testing::Test {
    TestFolder folder;
    std::string csv = folder.file("log.csv");
    std::string sqlite = folder.file("log.sqlite");
    ReadingFile file;
    std::string error;

    /// The first column of the first row as text.
    std::string ask(const std::string& query) {
        sqlite3* other = nullptr;
        sqlite3_open(sqlite.c_str(), &other);
        const SqliteFile owner(other);
        const SqliteStatement statement = SqliteFile_prepare(owner, query, error);
        if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) {
            return error;
        }
        const unsigned char* text = sqlite3_column_text(statement.get(), 0);
        return text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
    }
};

TEST_F(ReadingFileTest, WritesCsv) {
    ASSERT_TRUE(ReadingFile_open(file, csv, error)) << error;
    ReadingFile_add(file, reading(1));
    ReadingFile_add(file, reading(2));
    ASSERT_TRUE(ReadingFile_close(file, error)) << error;
    std::string expected = FleetCsv_header();
    FleetCsv_append(expected, reading(1));
    FleetCsv_append(expected, reading(2));
    EXPECT_EQ(expected, TestFolder_read(csv));
    EXPECT_EQ(2U, file.written);
}

TEST_F(ReadingFileTest, SqliteHasTheColumnsOfTheCsvFile) {
    ASSERT_TRUE(ReadingFile_open(file, sqlite, error)) << error;
    ASSERT_TRUE(ReadingFile_close(file, error)) << error;
    EXPECT_EQ(FleetCsv_header(),
              ask("SELECT group_concat(name) FROM pragma_table_info('readings')") + "\n");
    EXPECT_EQ("1", ask("PRAGMA user_version"));
}

TEST_F(ReadingFileTest, SqliteHoldsTheSameValues) {
    for (const int64_t time_ms : {int64_t{1795305068123}, int64_t{1795305068223}}) {
        ASSERT_TRUE(ReadingFile_open(file, sqlite, error)) << error; // goes on the second time
        ReadingFile_add(file, reading(time_ms));
        ASSERT_TRUE(ReadingFile_close(file, error)) << error;
    }
    EXPECT_EQ("2", ask("SELECT count(*) FROM readings"));
    EXPECT_EQ("2026-11-21T23:51:08.223Z", ask("SELECT max(time) FROM readings"));
    EXPECT_EQ("2", ask("SELECT count(*) FROM readings WHERE forward_W = 9.99999974737875e-05 AND "
                       "state4_min_W = 12.5 AND vswr IS NULL AND sensor = '51\"32' AND "
                       "sensor_serial = '77' AND meter = '20260001' AND channel = 1"));
}

TEST_F(ReadingFileTest, WhatAFullDiskDoesNotTakeFollowsLater) {
    for (const std::string& path : {csv, sqlite}) {
        ASSERT_TRUE(ReadingFile_open(file, path, error)) << error;
        ReadingFile_add(file, reading(1));
        ASSERT_TRUE(ReadingFile_flush(file, error)) << error;
        for (int i = 0; i < 5000; ++i) {
            ReadingFile_add(file, reading(2 + i));
        }
        {
            const FullDisk full(100'000);
            EXPECT_FALSE(ReadingFile_flush(file, error));
            EXPECT_NE("", error);
            EXPECT_FALSE(file.waiting.empty());
        }
        ASSERT_TRUE(ReadingFile_flush(file, error)) << error;
        EXPECT_EQ(5001U, file.written);
        EXPECT_EQ(0U, file.lost);
        ASSERT_TRUE(ReadingFile_close(file, error)) << error;
    }
    const std::string text = TestFolder_read(csv);
    EXPECT_EQ(5002, std::ranges::count(text, '\n'));
    EXPECT_EQ("5001", ask("SELECT count(DISTINCT time) FROM readings"));
}

TEST_F(ReadingFileTest, ALockedDatabaseIsSaidAndNothingIsLost) {
    ASSERT_TRUE(ReadingFile_open(file, sqlite, error)) << error;
    sqlite3* other = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(sqlite.c_str(), &other));
    sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    ReadingFile_add(file, reading(1));
    EXPECT_FALSE(ReadingFile_flush(file, error));
    EXPECT_EQ("another program has locked it", error);
    sqlite3_close(other);
    EXPECT_TRUE(ReadingFile_close(file, error)) << error;
    EXPECT_EQ("1", ask("SELECT count(*) FROM readings"));
}

TEST_F(ReadingFileTest, MemoryIsBoundedAndWhatIsLostIsCounted) {
    ASSERT_TRUE(ReadingFile_open(file, csv, error)) << error;
    for (size_t i = 0; i < readingFileMostWaiting + 1; ++i) {
        ReadingFile_add(file, {});
    }
    EXPECT_LE(file.waiting.size(), readingFileMostWaiting);
    EXPECT_EQ(readingFileMostWaiting + 1, file.waiting.size() + file.lost);
    EXPECT_TRUE(ReadingFile_close(file, error));
}

} // namespace
