// The serial handlers' own threads, with a sensor at the far end of a terminal.
#include "PortHandlers.h"
#include "SensorPortHandler.h"
#include "SerialSensorHandler.h"
#include "SerialSensorModel.h"
#include "Terminal.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <poll.h>
#include <thread>

namespace {

/// A terminal that stands where the instrument's device does, with a sensor at its far end.
class TerminalSensor {
public:
    explicit TerminalSensor(const std::string& device) {
        EXPECT_TRUE(Terminal_open(terminal, World_realPath(device))) << device;
        server = std::thread([this] { serve(); });
    }
    TerminalSensor(const TerminalSensor&) = delete;
    TerminalSensor& operator=(const TerminalSensor&) = delete;
    ~TerminalSensor() {
        isOver = true;
        server.join();
    }
    SerialSensorModel model;
    std::atomic<bool> isSilent{false};

private:
    void serve() {
        while (!isOver) {
            pollfd line = {terminal.master, POLLIN, 0};
            if (poll(&line, 1, 20) <= 0) {
                continue;
            }
            const std::string bytes = Terminal_read(terminal);
            if (!isSilent) {
                Terminal_write(terminal, model.answer(bytes));
            }
        }
    }
    Terminal terminal;
    std::atomic<bool> isOver{false};
    std::thread server;
};

bool hasReading(uint32_t port, float forward_W) {
    return sensorPortHandler_getSensorMeasurements(port).fwdPwrVal == forward_W;
}

/// The handlers' threads never end, so that one test plays all of their life.
TEST(SerialSensorThreads, ServeEachSensorFromItsPluggingToItsPulling) {
    World_setSpeed(2); // at a faster pace a busy machine's replies come too late
    World_removeFile("/dev/ttyS2");
    World_clearSyslog();
    TerminalSensor terminal("/dev/ttyS1");
    PortHandlers_startOnce();
    EXPECT_TRUE(World_waitUntil(
        [] { return World_syslogContains("USER_WARNING:  Unable to open sensor port 1."); },
        30000));

    sensorPortHandler_setIsConnected(sensorPort_Serial1, true);
    EXPECT_TRUE(World_waitUntil([] { return isReadyNow(0) && hasReading(0, 9.0F); }, 30000));
    SENSOR_IDENTITY identity{};
    std::array<char, 10> serialNumber{};
    sensorPortHandler_getSensorInformation(0, &identity, serialNumber.data(), serialNumber.size());
    EXPECT_STREQ(identity.sensorModel, "5132");
    EXPECT_STREQ(serialNumber.data(), "200201170");
    EXPECT_EQ(sensorPortHandler_getSensorMaxPower(0), 500.0F);
    EXPECT_EQ(sensorPortHandler_getSensorMinPower(0), 0.25F);

    // A sensor that is replaced while the handler waits for it is identified afresh, and is not
    // ready before that.
    terminal.isSilent = true;
    sensorPortHandler_setIsConnected(sensorPort_Serial1, false);
    EXPECT_FALSE(isReadyNow(0));
    sensorPortHandler_setIsConnected(sensorPort_Serial1, true);
    EXPECT_FALSE(isReadyNow(0));
    terminal.model.setModel("5134");
    terminal.model.setSerialNumber("123456789");
    EXPECT_TRUE(World_waitUntil(
        [] { return std::isnan(sensorPortHandler_getSensorMeasurements(0).fwdPwrVal); }, 30000));
    terminal.isSilent = false;
    EXPECT_TRUE(World_waitUntil([] { return isReadyNow(0) && hasReading(0, 9.0F); }, 30000));
    sensorPortHandler_getSensorInformation(0, &identity, serialNumber.data(), serialNumber.size());
    EXPECT_STREQ(identity.sensorModel, "5134");
    EXPECT_STREQ(serialNumber.data(), "123456789");

    // A port without a device waits for a sensor that never answers, and takes no time for it.
    sensorPortHandler_setIsConnected(sensorPort_Serial2, true);
    clockid_t clock{};
    ASSERT_EQ(pthread_getcpuclockid(sensorSerialHandlerData[1].thread_id, &clock), 0);
    World_setSpeed(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    timespec used{};
    clock_gettime(clock, &used);
    EXPECT_LT(used.tv_sec * 1000 + used.tv_nsec / 1'000'000, 100);
    EXPECT_FALSE(isReadyNow(1));

    sensorPortHandler_setIsConnected(sensorPort_Serial1, false);
    sensorPortHandler_setIsConnected(sensorPort_Serial2, false);
    EXPECT_FALSE(isReadyNow(0));
    EXPECT_GE(sensorPortHandler_getReadingNumber(0), 2U);
}

} // namespace
