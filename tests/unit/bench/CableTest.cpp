#include "Cable.h"

#include "World.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

constexpr int64_t second_ns = 1'000'000'000;
constexpr size_t much = 1'000'000; ///< more than any terminal holds

/// A cable whose sender and receiver write to and read from the slaves.
class CableTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(Terminal_open(from, World_folder() + "/cable-from"));
        ASSERT_TRUE(Terminal_open(to, World_folder() + "/cable-to"));
    }
    void TearDown() override {
        Terminal_close(from);
        Terminal_close(to);
    }
    void carry(int64_t now_ns = 0) {
        Cable_carry(cable, from, to, now_ns);
    }
    /// Sends until the receiver has no room left; returns what has been sent.
    std::string fill() {
        std::string sent;
        while (cable.rest.empty() && sent.size() < much) {
            const std::string piece = std::to_string(sent.size()) + ",";
            EXPECT_EQ(write(from.slave, piece.data(), piece.size()),
                      static_cast<ssize_t>(piece.size()));
            sent += piece;
            carry();
        }
        EXPECT_LT(sent.size(), much);
        return sent;
    }
    /// What waits at the receiver.
    [[nodiscard]] std::string receive() const {
        std::string bytes(4096, '\0');
        pollfd waited{to.slave, POLLIN, 0};
        const ssize_t count =
            poll(&waited, 1, 0) > 0 ? read(to.slave, bytes.data(), bytes.size()) : 0;
        return bytes.substr(0, count > 0 ? static_cast<size_t>(count) : 0);
    }
    std::string receiveAll(size_t size) {
        std::string received;
        for (int tries = 0; received.size() < size && tries < 10000; ++tries) {
            received += receive();
            carry();
        }
        return received;
    }
    pollfd waitsFor() {
        std::vector<pollfd> waiting;
        Cable_collect(cable, from, to, waiting);
        return waiting.at(0);
    }

    Terminal from;
    Terminal to;
    Cable cable;
};

TEST_F(CableTest, LosesNothingOnAReceiverThatTakesItsTime) {
    const std::string sent = fill();
    EXPECT_EQ(waitsFor().fd, to.master);
    EXPECT_EQ(waitsFor().events, POLLOUT);
    EXPECT_EQ(Cable_nextDue_ns(cable), 5 * second_ns);
    EXPECT_EQ(receiveAll(sent.size()), sent);
    EXPECT_EQ(waitsFor().fd, from.master);
    EXPECT_EQ(waitsFor().events, POLLIN);
}

TEST_F(CableTest, GivesUpAReceiverThatTakesNothing) {
    const std::string sent = fill();
    carry(5 * second_ns - 1);
    EXPECT_FALSE(cable.rest.empty());
    carry(5 * second_ns);
    EXPECT_TRUE(cable.rest.empty());
    EXPECT_EQ(write(from.slave, "lost", 4), 4);
    carry(6 * second_ns);
    EXPECT_TRUE(cable.rest.empty()) << "nobody is waited for who does not listen";
    const std::string received = receiveAll(sent.size() - 1);
    EXPECT_TRUE(sent.starts_with(received));
    EXPECT_EQ(write(from.slave, "heard", 5), 5);
    carry(7 * second_ns);
    EXPECT_EQ(receive(), "heard");
    EXPECT_FALSE(cable.isDeaf);
}

} // namespace
