#include "SqliteFile.h"

#include "TestFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <sqlite3.h>

namespace {

constexpr std::array first{"CREATE TABLE a (x)"};
constexpr std::array both{"CREATE TABLE a (x)", "ALTER TABLE a ADD COLUMN y DEFAULT 7"};

struct SqliteFileTest : testing::Test {
    TestFolder folder;
    std::string path = folder.file("log.sqlite");
    std::string error;

    int64_t ask(const SqliteFile& file, const char* query) {
        const SqliteStatement statement = SqliteFile_prepare(file, query, error);
        return statement && sqlite3_step(statement.get()) == SQLITE_ROW
                   ? sqlite3_column_int64(statement.get(), 0)
                   : -1;
    }
};

TEST_F(SqliteFileTest, ANewFileHasTheNewestSchema) {
    const SqliteFile file = SqliteFile_open(path, both, error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(2, ask(file, "PRAGMA user_version"));
    EXPECT_TRUE(SqliteFile_run(file, "INSERT INTO a VALUES (1, 2)", error)) << error;
}

TEST_F(SqliteFileTest, AnOlderSchemaIsBroughtForwardWithWhatIsInIt) {
    SqliteFile file = SqliteFile_open(path, first, error);
    ASSERT_TRUE(SqliteFile_run(file, "INSERT INTO a VALUES (5)", error));
    file = SqliteFile_open(path, both, error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(2, ask(file, "PRAGMA user_version"));
    EXPECT_EQ(57, ask(file, "SELECT 10 * x + y FROM a"));
}

TEST_F(SqliteFileTest, ANewerSchemaIsRefused) {
    ASSERT_TRUE(SqliteFile_open(path, both, error));
    EXPECT_FALSE(SqliteFile_open(path, first, error));
    EXPECT_NE(std::string::npos, error.find("a newer quorvel-fleet")) << error;
}

TEST_F(SqliteFileTest, AStepThatFailsLeavesTheFileAsItWas) {
    constexpr std::array broken{"CREATE TABLE a (x)", "CREATE TABLE b (x); CREATE TABLE a (x)"};
    ASSERT_TRUE(SqliteFile_open(path, first, error));
    EXPECT_FALSE(SqliteFile_open(path, broken, error));
    const SqliteFile file = SqliteFile_open(path, first, error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(0, ask(file, "SELECT count(*) FROM sqlite_schema WHERE name = 'b'"));
}

TEST_F(SqliteFileTest, ACheckpointOfWhatIsNotThereOrIsNoDatabaseFailsWithItsReason) {
    EXPECT_FALSE(SqliteFile_openToCheckpoint(path, error));
    EXPECT_FALSE(error.empty());
    error.clear();
    TestFolder_write(path, std::string(10000, 'x'));
    const SqliteFile file = SqliteFile_openToCheckpoint(path, error);
    EXPECT_FALSE(file && SqliteFile_checkpoint(file, error));
    EXPECT_NE(std::string::npos, error.find("not a database")) << error;
}

TEST_F(SqliteFileTest, ADatabaseOfSomethingElseIsRefused) {
    sqlite3* other = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &other));
    sqlite3_exec(other, "CREATE TABLE photos (x)", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    EXPECT_FALSE(SqliteFile_open(path, first, error));
    EXPECT_EQ("it is a database of something else", error);
}

TEST_F(SqliteFileTest, AFileThatIsNoDatabaseIsRefusedAndStaysAsItIs) {
    const std::string text(5000, 'x');
    TestFolder_write(path, text);
    EXPECT_FALSE(SqliteFile_open(path, first, error));
    EXPECT_NE(std::string::npos, error.find("broken, or no database")) << error;
    EXPECT_EQ(text, TestFolder_read(path));
}

TEST_F(SqliteFileTest, NanIsNoValue) {
    const SqliteFile file = SqliteFile_open(path, first, error);
    const SqliteStatement insert = SqliteFile_prepare(file, "INSERT INTO a VALUES (?)", error);
    SqliteFile_bind(insert, 1, std::numeric_limits<double>::quiet_NaN());
    ASSERT_TRUE(SqliteFile_step(file, insert, error));
    SqliteFile_bind(insert, 1, 0.5);
    ASSERT_TRUE(SqliteFile_step(file, insert, error));
    EXPECT_EQ(1, ask(file, "SELECT count(*) FROM a WHERE x IS NULL"));
    EXPECT_EQ(1, ask(file, "SELECT count(*) FROM a WHERE x = 0.5"));
}

} // namespace
