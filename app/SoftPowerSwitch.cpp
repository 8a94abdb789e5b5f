#include "SoftPowerSwitch.h"

#include "AppFlags.h"
#include "Files.h"
#include "Heartbeat.h"
#include "LogManager.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr const char* powerSwitchFile = "/dev/input/event0";
constexpr uint32_t passPeriod_ms = 50;
constexpr size_t longestRead = 31;

void beat(SimpleTimerData* heartbeat) {
    const uint32_t now_ms = getTime_ms();
    if (Heartbeat_isDue(heartbeat, now_ms)) {
        logManager_printToLog(ThreadMonitor,
                              "softPowerSwitchPollingThread: Thread is alive at %ul ms.\n", now_ms);
    }
}

/// Waits without limit; wakes now and then only for the sign of life.
bool waitUntilReadable(int fd, SimpleTimerData* heartbeat) {
    for (;;) {
        pollfd device = {fd, POLLIN, 0};
        const int count = poll(&device, 1, threadHeartbeat_ms + 1);
        if (count > 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        beat(heartbeat);
    }
}

ssize_t readEvent(int fd) {
    std::array<char, longestRead> event;
    ssize_t count = -1;
    do {
        count = read(fd, event.data(), event.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

bool SoftPowerSwitch_waitForPress(SimpleTimerData* heartbeat) {
    beat(heartbeat);
    const ScopedFd device(open(powerSwitchFile, O_RDONLY | O_CLOEXEC));
    if (!device.isOpen()) {
        logManager_printToLog(PowerManagement,
                              "softPowerSwitchPollingThread: Failed to open the Power Switch File "
                              "\"%s\"****************\n",
                              powerSwitchFile);
        return false;
    }
    return waitUntilReadable(device.get(), heartbeat) && readEvent(device.get()) > 0;
}

void softPowerSwitchPollingThread() {
    SimpleTimerData heartbeat{};
    CSimpleTimer_Reset(&heartbeat, threadHeartbeat_ms);
    for (;;) {
        if (SoftPowerSwitch_waitForPress(&heartbeat)) {
            quit = true;
            logManager_printToLog(PowerManagement, "softPowerSwitchPollingThread: quit = %d\n",
                                  static_cast<int>(quit.load()));
        }
        Thread_sleep_ms(passPeriod_ms);
    }
}
