#include "SoftPowerSwitch.h"

#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string device = "/dev/input/event0";

/// The power switch as a pseudo-terminal: readable only when something was typed.
class PowerSwitch {
public:
    PowerSwitch() : master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        grantpt(master);
        unlockpt(master);
        slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
        World_removeFile(device);
        World_writeFile("/dev/input/folder", "");
        EXPECT_EQ(symlink(ptsname(master), World_realPath(device).c_str()), 0);
    }
    ~PowerSwitch() {
        close(slave);
        close(master);
        World_removeFile(device);
    }
    PowerSwitch(const PowerSwitch&) = delete;
    PowerSwitch& operator=(const PowerSwitch&) = delete;

    void press() const {
        EXPECT_EQ(write(master, "event\n", 6), 6);
    }

private:
    int master;
    int slave = -1;
};

void* pressSoon(void* powerSwitch) {
    Thread_sleep_ms(50);
    static_cast<PowerSwitch*>(powerSwitch)->press();
    return nullptr;
}

SimpleTimerData freshHeartbeat() {
    SimpleTimerData heartbeat{};
    CSimpleTimer_Reset(&heartbeat, threadHeartbeat_ms);
    return heartbeat;
}

} // namespace

TEST(SoftPowerSwitch, AnyEventIsAPress) {
    PowerSwitch powerSwitch;
    SimpleTimerData heartbeat = freshHeartbeat();
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "press", pressSoon, &powerSwitch), 0);
    EXPECT_TRUE(SoftPowerSwitch_waitForPress(&heartbeat));
    pthread_join(thread, nullptr);
}

TEST(SoftPowerSwitch, MissingDeviceIsNoPress) {
    World_removeFile(device);
    SimpleTimerData heartbeat = freshHeartbeat();
    EXPECT_FALSE(SoftPowerSwitch_waitForPress(&heartbeat));
}

TEST(SoftPowerSwitch, DeviceAtItsEndIsNoPress) {
    World_writeFile(device, "");
    SimpleTimerData heartbeat = freshHeartbeat();
    EXPECT_FALSE(SoftPowerSwitch_waitForPress(&heartbeat));
    World_removeFile(device);
}

TEST(SoftPowerSwitch, DeviceThatCannotBeReadIsNoPress) {
    World_removeFile(device);
    World_writeFile(device + "/a folder", "");
    SimpleTimerData heartbeat = freshHeartbeat();
    EXPECT_FALSE(SoftPowerSwitch_waitForPress(&heartbeat));
    World_removeFile(device);
}

constexpr double slowestSpeed = 0.01;

/// The thread in a process of its own, since it never ends. Its device is a pipe: opening it lasts
/// until the test opens the other end, and a pass is over once that end is closed. Sleeps take no
/// real time: they let the clock jump.
class PowerSwitchThread : public testing::Test {
protected:
    PowerSwitchThread() {
        World_removeFile(device);
        World_writeFile("/dev/input/folder", "");
        EXPECT_EQ(mkfifo(World_realPath(device).c_str(), 0600), 0);
        World_setSpeed(slowestSpeed);
        World_skipSleeps(true);
        child = fork();
        if (child == 0) {
            softPowerSwitchPollingThread();
        }
    }
    ~PowerSwitchThread() override {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        World_skipSleeps(false);
        World_setSpeed(1);
        World_removeFile(device);
    }

    /// What the clock shows beyond the time that has really gone by.
    static double jumped_ms() {
        timespec shown{};
        timespec real{};
        clock_gettime(CLOCK_MONOTONIC, &shown);
        clock_gettime(CLOCK_MONOTONIC_RAW, &real);
        return milliseconds(shown) - milliseconds(real) * slowestSpeed;
    }

    pid_t child = -1;

private:
    static double milliseconds(const timespec& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
};

TEST_F(PowerSwitchThread, RestsForFiftyMillisecondsBetweenTwoPasses) {
    constexpr uint32_t limit_ms = 10000;
    const int otherEnd = open(device.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(otherEnd, 0);
    const double before_ms = jumped_ms();
    close(otherEnd);
    EXPECT_TRUE(World_waitUntil([&] { return jumped_ms() - before_ms > 1; }, limit_ms));
    EXPECT_NEAR(jumped_ms() - before_ms, 50, 1);
}
