#include "DatabaseThread.h"

#include "TestFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <future>
#include <string>
#include <thread>

namespace {

constexpr std::array schema{"CREATE TABLE a (x)"};
constexpr int mostWaiting = 32;

struct DatabaseThreadTest : testing::Test {
    TestFolder folder;
    std::string error;
    std::shared_ptr<FleetLoop> loop = FleetLoop_create();
    std::shared_ptr<DatabaseThread> thread =
        DatabaseThread_start(loop, SqliteFile_open(folder.file("fleet.sqlite"), schema, error));

    ~DatabaseThreadTest() override {
        DatabaseThread_stop(*thread);
    }
};

TEST_F(DatabaseThreadTest, WorksBesideTheLoopAndAnswersOnIt) {
    std::thread::id worker;
    std::thread::id answered;
    bool hasFile = false;
    ASSERT_TRUE(DatabaseThread_do(*thread, [&](const SqliteFile& file) {
        worker = std::this_thread::get_id();
        hasFile = file != nullptr;
        return [&] {
            answered = std::this_thread::get_id();
            FleetLoop_stop(*loop);
        };
    }));
    FleetLoop_run(*loop);
    EXPECT_TRUE(hasFile) << error;
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_EQ(answered, std::this_thread::get_id());
}

TEST_F(DatabaseThreadTest, DoesWhatWaitsInItsOrderAndRefusesWhatIsTooMuch) {
    std::promise<void> begun;
    std::promise<void> mayEnd;
    std::string order;
    ASSERT_TRUE(DatabaseThread_do(*thread, [&](const SqliteFile&) {
        begun.set_value();
        mayEnd.get_future().wait();
        return [] {};
    }));
    begun.get_future().wait();
    std::string expected;
    for (int number = 0; number < mostWaiting; ++number) {
        const char letter = static_cast<char>('A' + number);
        expected += letter;
        EXPECT_TRUE(DatabaseThread_do(*thread, [&, letter](const SqliteFile&) {
            return [&, letter] {
                order += letter;
                if (order.size() == mostWaiting) {
                    FleetLoop_stop(*loop);
                }
            };
        })) << number;
    }
    EXPECT_FALSE(DatabaseThread_do(*thread, [](const SqliteFile&) { return [] {}; }));
    mayEnd.set_value();
    FleetLoop_run(*loop);
    EXPECT_EQ(order, expected);
}

} // namespace
