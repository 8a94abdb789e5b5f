// The USB handlers' own threads, through every plugging and pulling.
#include "PortHandlers.h"
#include "SensorDetect.h"
#include "SensorManager.h"
#include "Threads.h"
#include "UsbSensorFixture.h"

#include <dirent.h>
#include <memory>

namespace {

size_t openDescriptors() {
    size_t count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count;
}

CONNECTED_SENSORS detect(const CONNECTED_SENSORS& previous) {
    return SensorDetect_getConnectedSensors(previous);
}

/// The handlers' threads never end, so that one test plays all of their life.
TEST(UsbSensorThreads, ServeSensorsThroughEveryPluggingAndPulling) {
    prepareFiles();
    SensorManager_Create();
    World_setSpeed(8); // an answer that a busy machine keeps for half a second is still in time
    PortHandlers_startOnce();
    CONNECTED_SENSORS record{};
    const auto poll = [&record] { record = detect(record); };
    const auto becomesReady = [&](uint32_t port) {
        return World_waitUntil([port] { return isReadyNow(port); }, 20000);
    };
    poll();
    EXPECT_EQ(record.detectedSensors, 0U);

    // A lone sensor behind the second node is USB1.
    auto second = std::make_unique<UsbDevice>(1);
    second->setReply("FETC:FORW:AVER?", "11");
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1);
    EXPECT_TRUE(becomesReady(sensorPort_USB1));
    EXPECT_TRUE(World_waitUntil(
        [] { return sensorPortHandler_getSensorMeasurements(sensorPort_USB1).fwdPwrVal == 11.0F; },
        20000));
    EXPECT_STREQ(sensorUsbHandlerData[0].sensorIdentity.sensorModel, "3164");

    // The next one to appear is USB2.
    auto first = std::make_unique<UsbDevice>(0);
    first->setReply("SYST:IDEN:MOD?", "3163");
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
    EXPECT_TRUE(becomesReady(sensorPort_USB2));
    SensorInstance_SetLogicalChannel(sensorPort_USB2, sensorLogicalChannel2);

    // A broken transfer with the node still there: the device is opened again, and the sensor
    // keeps its channel.
    const uint32_t connections = first->connectionCount();
    first->breakConnection();
    EXPECT_TRUE(World_waitUntil([] { return !isReadyNow(sensorPort_USB2); }, 20000));
    EXPECT_TRUE(World_waitUntil(
        [&] {
            poll();
            return isReadyNow(sensorPort_USB2);
        },
        60000));
    EXPECT_EQ(first->connectionCount(), connections + 1);
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_USB2), sensorLogicalChannel2);

    // Pulling USB1 closes its device and frees its slot for the next sensor that appears.
    const size_t descriptors = openDescriptors();
    second.reset();
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB2);
    EXPECT_TRUE(World_waitUntil([&] { return openDescriptors() < descriptors; }, 20000));
    for (int count = 0; count < 5; ++count) {
        second = std::make_unique<UsbDevice>(1);
        poll();
        EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
        EXPECT_TRUE(becomesReady(sensorPort_USB1));
        second.reset();
        poll();
        EXPECT_EQ(record.detectedSensors, sensorPortBit_USB2);
        EXPECT_FALSE(isReadyNow(sensorPort_USB1));
    }

    // A node that cannot be opened hides both sensors for that cycle, and is found once it can.
    World_writeFile("/dev/usbtmc1", ""); // nobody is behind it
    poll();
    EXPECT_EQ(record.detectedSensors, 0U);
    World_removeFile("/dev/usbtmc1");
    second = std::make_unique<UsbDevice>(1);
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
    EXPECT_TRUE(becomesReady(sensorPort_USB1));
    EXPECT_TRUE(becomesReady(sensorPort_USB2));

    first.reset();
    second.reset();
    poll();
    EXPECT_EQ(record.detectedSensors, 0U);
    EXPECT_TRUE(World_waitUntil(
        [] {
            const ScopedLock lock(sensorPortConfigMutex[sensorPort_USB1]);
            return sensorUsbHandlerData[0].usbPort.portState == sensorPortDisconnected;
        },
        20000));
    World_setSpeed(1);
}

} // namespace
