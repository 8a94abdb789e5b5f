#include "TraceOutput.h"

#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <fcntl.h>
#include <poll.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t limit_ms = 20000;

/// Standard output is a pipe that is read when a test wants it to be.
class TraceOutput : public testing::Test {
protected:
    TraceOutput() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        reader = ends[0];
        fcntl(reader, F_SETFL, O_NONBLOCK);
        fcntl(reader, F_SETPIPE_SZ, 4096); // far less than the buffer holds
        fflush(stdout);
        realOutput = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[1]);
    }
    ~TraceOutput() override {
        dup2(realOutput, STDOUT_FILENO);
        close(realOutput);
        close(reader);
    }

    void readMore() {
        std::array<char, 4096> piece{};
        for (ssize_t count = 0; (count = read(reader, piece.data(), piece.size())) > 0;) {
            text.append(piece.data(), static_cast<size_t>(count));
        }
    }
    /// Everything that was written, read until nothing of it is left.
    std::string all() {
        EXPECT_TRUE(World_waitUntil(
            [this] {
                readMore();
                return TraceOutput_flush(1);
            },
            limit_ms));
        readMore();
        return text;
    }

    int reader = -1;
    int realOutput = -1;
    std::string text;
};

/// A line of 100 characters.
std::string numberedLine(unsigned number) {
    std::string line = std::to_string(number) + " ";
    line.resize(99, '.');
    return line + "\n";
}

} // namespace

TEST_F(TraceOutput, ATextIsWrittenAtOnceAndAsItIs) {
    TraceOutput_write("50%% of it", false);
    EXPECT_EQ(all(), "50%% of it");
    TraceOutput_write(", 50%% of it\n", true);
    EXPECT_EQ(all(), "50%% of it, 50% of it\n");
}

TEST_F(TraceOutput, WhoTracesDoesNotWaitForWhoReads) {
    constexpr unsigned lines = 3000; // the pipe and the buffer take less than half of them
    for (unsigned line = 0; line < lines; ++line) {
        TraceOutput_write(numberedLine(line).c_str(), false);
    }
    EXPECT_FALSE(TraceOutput_flush(10)) << "the pipe is full";
    const std::string written = all();

    // Which lines are lost hangs on how the threads come to run; each is there or is told of.
    unsigned next = 0;
    unsigned lost = 0;
    std::istringstream all(written);
    for (std::string line; std::getline(all, line);) {
        const auto number = static_cast<unsigned>(std::stoul(line));
        if (line == std::to_string(number) + " lines lost") {
            lost += number;
            next += number;
        } else {
            ASSERT_EQ(line + "\n", numberedLine(next));
            ++next;
        }
    }
    EXPECT_EQ(next, lines);
    EXPECT_GT(lost, 0U);
    EXPECT_LE(lost, lines - 655) << "the buffer holds 64 KiB";
}

TEST_F(TraceOutput, WhoFlushesWaitsUntilEverythingIsWritten) {
    constexpr unsigned lines = 600; // fills the pipe and most of the buffer
    for (unsigned line = 0; line < lines; ++line) {
        TraceOutput_write(numberedLine(line).c_str(), false);
    }
    std::atomic<bool> isFlushed{false};
    std::thread other([this, &isFlushed] {
        while (!isFlushed) {
            pollfd more{reader, POLLIN, 0};
            poll(&more, 1, 1);
            readMore();
        }
    });
    EXPECT_TRUE(TraceOutput_flush(limit_ms));
    isFlushed = true;
    other.join();
    readMore();
    EXPECT_EQ(text.size(), lines * numberedLine(0).size());
}

TEST_F(TraceOutput, ATextOfTheBuffersSizeIsWritten) {
    const std::string longest(65536, 'x');
    TraceOutput_write(longest.c_str(), false);
    EXPECT_TRUE(all() == longest);
}

TEST_F(TraceOutput, ATextBeyondTheBufferIsLostAlone) {
    TraceOutput_write("before\n", false);
    TraceOutput_write(std::string(65537, 'x').c_str(), false);
    TraceOutput_write("behind\n", false);
    EXPECT_EQ(all(), "before\n1 lines lost\nbehind\n");
}

TEST_F(TraceOutput, TextsOfManyThreadsAreNotMixed) {
    constexpr unsigned threadCount = 4;
    constexpr unsigned textCount = 500;
    std::atomic<unsigned> ready{0};
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < threadCount; ++number) {
        threads.emplace_back([&ready, number] {
            const std::string own = std::string(20, static_cast<char>('a' + number)) + "\n";
            ++ready;
            while (ready < threadCount) {
            }
            for (unsigned count = 0; count < textCount; ++count) {
                TraceOutput_write(own.c_str(), true);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string written = all();
    std::array<unsigned, threadCount> counts{};
    for (size_t at = 0; at + 21 <= written.size(); at += 21) {
        const std::string line = written.substr(at, 21);
        ASSERT_EQ(line, std::string(20, line[0]) + "\n");
        ++counts.at(static_cast<size_t>(line[0] - 'a'));
    }
    for (const unsigned count : counts) {
        EXPECT_EQ(count, textCount);
    }
}
