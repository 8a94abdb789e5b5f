// The wire of a serial sensor in the bench's time.

#include "SerialPortPlayer.h"

#include "SensorTest.h"
#include "WorldFolder.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int64_t millisecond_ns = 1000000;

class SerialPortPlayerTest : public testing::Test {
protected:
    void SetUp() override {
        world = WorldFolder_makeTemporary("quorvel-serial");
        ASSERT_TRUE(WorldFolder_create(world));
        ASSERT_TRUE(SerialPortPlayer_open(player, 0, world, 0));
        program = open(WorldFolder_path(world, "/dev/ttyS1").c_str(),
                       O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(program, 0);
    }
    void TearDown() override {
        close(program);
        SerialPortPlayer_close(player);
        WorldFolder_remove(world);
    }
    void plug(const std::string& latency) {
        Sensor513x sensor = existing(Sensor513x_create("5132"));
        ASSERT_TRUE(set(sensor, "boot", "0s"));
        ASSERT_TRUE(set(sensor, "latency", latency.c_str()));
        SerialPortPlayer_plug(player, sensor, 0);
    }
    /// What has come by then.
    std::string read(int64_t now_ms) {
        SerialPortPlayer_service(player, now_ms * millisecond_ns);
        char buffer[64];
        const ssize_t count = ::read(program, buffer, sizeof buffer);
        return {buffer, count > 0 ? static_cast<size_t>(count) : 0};
    }

    SerialPortPlayer player{};
    std::string world;
    int program = -1;
};

} // namespace

TEST_F(SerialPortPlayerTest, AReplyBeginsAfterTheSensorsLatencyAndComesAtTheWiresPace) {
    plug("700ms");
    ASSERT_EQ(::write(program, "F", 1), 1);
    EXPECT_EQ(read(0), "");
    EXPECT_EQ(read(702), "") << "the command itself takes a millisecond";
    EXPECT_EQ(read(703).size(), 1U);
    EXPECT_EQ(read(704).size(), 1U);
    EXPECT_EQ(read(800).size(), 2U);
}

TEST_F(SerialPortPlayerTest, WithoutALatencyAReplyBeginsAtOnce) {
    plug("0s");
    ASSERT_EQ(::write(program, "S", 1), 1);
    EXPECT_EQ(read(0), "");
    EXPECT_EQ(read(3), "S");
}
