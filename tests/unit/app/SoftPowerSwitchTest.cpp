#include "SoftPowerSwitch.h"

#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
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
