#include "SensorPolling.h"

#include "Leftovers.h"
#include "SensorDetect.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"
#include "UsbSensorSlots.h"
#include "UsbTmcPort.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <string>

namespace {

using namespace std::string_literals;

const std::string folder = "/sys/class/hwmon/";

void writeMonitor(const std::string& entry, const std::string& name, const std::string& cell,
                  const std::string& current) {
    World_writeFile(folder + entry + "/name", name);
    World_writeFile(folder + entry + "/device/of_node/reg", cell);
    World_writeFile(folder + entry + "/curr1_input", current);
}

void removeMonitor(const std::string& entry) {
    for (const char* attribute : {"/name", "/device/of_node/reg", "/curr1_input"}) {
        World_removeFile(folder + entry + attribute);
    }
}

class SensorPolling : public testing::Test {
protected:
    SensorPolling() {
        writeMonitor("hwmon3", "ina219\n", "\0\0\0\x40"s, "0\n");
        writeMonitor("hwmon1", "ina219\n", "\0\0\0\x45"s, "0\n");
        findINA219Devices();
    }
    ~SensorPolling() override {
        for (const char* entry : {"hwmon0", "hwmon1", "hwmon2", "hwmon3", "other"}) {
            removeMonitor(entry);
        }
    }
    static void setCurrent(uint32_t port, const std::string& text) {
        World_writeFile(ina219CurrentMonitors[port].data(), text);
    }
};

TEST_F(SensorPolling, FindsEachPortsMonitorByItsBusAddress) {
    EXPECT_STREQ(ina219CurrentMonitors[0].data(), "/sys/class/hwmon/hwmon3/curr1_input");
    EXPECT_STREQ(ina219CurrentMonitors[1].data(), "/sys/class/hwmon/hwmon1/curr1_input");
}

TEST_F(SensorPolling, SearchesAndReadingsLeaveNothingBehind) {
    EXPECT_TRUE(leavesNothingBehind([] {
        findINA219Devices();
        pollI2CCurrentMonitor(0);
    }));
}

struct EntryCase {
    const char* legend;
    std::string entry;
    std::string name;
    std::string cell;
    bool isTaken;
};

TEST_F(SensorPolling, OtherMonitorsAreSkipped) {
    const EntryCase cases[] = {
        {"the monitor itself", "hwmon0", "ina219\n", "\0\0\0\x40"s, true},
        {"a longer name", "hwmon0", "xina219b\n", "\0\0\0\x40"s, true},
        {"another chip", "hwmon0", "lm75\n", "\0\0\0\x40"s, false},
        {"another address", "hwmon0", "ina219\n", "\0\0\0\x41"s, false},
        {"another byte order", "hwmon0", "ina219\n", "\x40\0\0\0"s, false},
        {"a short cell", "hwmon0", "ina219\n", "\0\0\x40"s, false},
        {"an empty cell", "hwmon0", "ina219\n", "", false},
        {"a cell of all ones", "hwmon0", "ina219\n", "\xFF\xFF\xFF\xFF", false},
        {"an entry of another name", "other", "ina219\n", "\0\0\0\x40"s, false},
    };
    removeMonitor("hwmon3");
    for (const EntryCase& one : cases) {
        writeMonitor(one.entry, one.name, one.cell, "0\n");
        findINA219Devices();
        const std::string expected = one.isTaken ? folder + one.entry + "/curr1_input" : "";
        EXPECT_EQ(ina219CurrentMonitors[0].data(), expected) << one.legend;
        removeMonitor(one.entry);
    }
}

TEST_F(SensorPolling, AnEntryWithoutANameIsSkipped) {
    World_removeFile(folder + "hwmon3/name");
    findINA219Devices();
    EXPECT_STREQ(ina219CurrentMonitors[0].data(), "");
    EXPECT_STREQ(ina219CurrentMonitors[1].data(), "/sys/class/hwmon/hwmon1/curr1_input");
}

struct CurrentCase {
    const char* text;
    int current_mA;
    bool isOccupied;
};

TEST_F(SensorPolling, AnOccupiedPortDrawsMoreThan250Milliamperes) {
    const CurrentCase cases[] = {
        {"250\n", 250, false},       {"251\n", 251, true},
        {"0\n", 0, false},           {"-5\n", -5, false},
        {"1200", 1200, true},        {"", -1, false},
        {"none\n", -1, false},       {"99999999999999999999\n", -1, false},
        {"4294967596\n", -1, false},
    };
    for (uint32_t port = 0; port < 2; ++port) {
        for (const CurrentCase& one : cases) {
            setCurrent(port, one.text);
            EXPECT_EQ(getDeviceCurrent(ina219CurrentMonitors[port].data()), one.current_mA);
            EXPECT_EQ(pollI2CCurrentMonitor(port), one.isOccupied) << one.text;
        }
    }
}

TEST_F(SensorPolling, APortBeyondTheSerialOnesIsNeverOccupied) {
    for (const uint32_t port : {2U, 3U, 255U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(pollI2CCurrentMonitor(port));
    }
}

TEST_F(SensorPolling, APortWithoutAMonitorIsNeverOccupied) {
    setCurrent(0, "900\n");
    setCurrent(1, "900\n");
    removeMonitor("hwmon1");
    findINA219Devices();
    EXPECT_TRUE(pollI2CCurrentMonitor(0));
    EXPECT_FALSE(pollI2CCurrentMonitor(1));
}

TEST_F(SensorPolling, MissingAttributesReadAsFailed) {
    std::array<char, 16> name = {"unchanged"};
    EXPECT_EQ(getDeviceName("/sys/class/hwmon/nothing/name", name.data(), name.size()), -1);
    EXPECT_STREQ(name.data(), "");
    EXPECT_EQ(getDeviceAddr("/sys/class/hwmon/nothing/reg"), -1);
    EXPECT_EQ(getDeviceCurrent("/sys/class/hwmon/nothing/curr1_input"), -1);
    EXPECT_EQ(getDeviceCurrent(""), -1);
}

TEST_F(SensorPolling, ALongNameIsCut) {
    World_writeFile(folder + "hwmon3/name", std::string(100, 'n'));
    std::array<char, 51> name{};
    EXPECT_EQ(getDeviceName((folder + "hwmon3/name").c_str(), name.data(), name.size()), 50);
    EXPECT_EQ(name.data(), std::string(50, 'n'));
}

class SensorDetection : public SensorPolling {
protected:
    SensorDetection() {
        SensorManager_Create();
    }
    ~SensorDetection() override {
        for (uint32_t port = 0; port < sensorPortCount; ++port) {
            sensorPortHandler_setIsConnected(port, false);
        }
        SensorManager_Destroy();
    }
};

TEST_F(SensorDetection, ACycleTellsWhatIsThereAndWhatHasChanged) {
    CONNECTED_SENSORS record = SensorDetect_getConnectedSensors({});
    EXPECT_EQ(record.detectedSensors, 0U);
    EXPECT_EQ(record.detectedSensorsChanged, 0U);
    setCurrent(1, "600\n");
    record = SensorDetect_getConnectedSensors(record);
    EXPECT_EQ(record.detectedSensors, sensorPortBit_Serial2);
    EXPECT_EQ(record.detectedSensorsChanged, sensorPortBit_Serial2);
    EXPECT_TRUE(record.promptForlogicalChannel);
    EXPECT_TRUE(sensorPortHandler_getIsConnected(sensorPort_Serial2));
    record = SensorDetect_getConnectedSensors(record);
    EXPECT_EQ(record.detectedSensors, sensorPortBit_Serial2);
    EXPECT_EQ(record.detectedSensorsChanged, 0U);
    setCurrent(0, "600\n");
    setCurrent(1, "10\n");
    record = SensorDetect_getConnectedSensors(record);
    EXPECT_EQ(record.detectedSensors, sensorPortBit_Serial1);
    EXPECT_EQ(record.detectedSensorsChanged, sensorPortBit_Serial1 | sensorPortBit_Serial2);
    EXPECT_FALSE(sensorPortHandler_getIsConnected(sensorPort_Serial2));
}

TEST(SensorDetect, CountsThePortsWithASensor) {
    EXPECT_EQ(SensorDetect_getConnectedCount({0, 0, false}), 0U);
    EXPECT_EQ(SensorDetect_getConnectedCount({0x33, 0, false}), 4U);
    EXPECT_EQ(SensorDetect_getConnectedCount({0x12, 0, false}), 2U);
    EXPECT_EQ(SensorDetect_getConnectedCount({0xFFFFFFCC, 0, false}), 0U);
}

UsbSlotLoss lossOf(uint32_t slot) {
    std::array<char, 32> name{};
    return UsbSensorSlots_getLoss(slot, name.data(), name.size());
}

void takeAndLose(uint32_t slot) {
    UsbTmcPort_Close(UsbSensorSlots_take(slot).fd);
    UsbSensorSlots_reportLost(slot);
    EXPECT_EQ(lossOf(slot), UsbSlotLoss::lost);
}

TEST(UsbSensorSlots, TwoNodesHaveASlotEachAndAThirdHasNone) {
    const std::string names[] = {usbPort1Name, usbPort2Name, "/dev/usbtmc2"};
    for (uint32_t slot = 0; slot < usbSensorCount; ++slot) {
        EXPECT_FALSE(UsbSensorSlots_isOpen(slot)) << slot;
        EXPECT_EQ(lossOf(slot), UsbSlotLoss::none) << slot;
        EXPECT_FALSE(UsbSensorSlots_take(slot).hasChanged) << slot;
        const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
        EXPECT_TRUE(UsbSensorSlots_offer(names[slot].c_str(), fd));
        EXPECT_TRUE(UsbSensorSlots_isOpen(slot)) << slot;
        EXPECT_TRUE(UsbSensorSlots_hasNode(names[slot].c_str()));
        EXPECT_EQ(UsbSensorSlots_take(slot).fd, fd);
        EXPECT_FALSE(UsbSensorSlots_take(slot).hasChanged) << slot;
        UsbTmcPort_Close(fd);
    }
    EXPECT_FALSE(UsbSensorSlots_offer(names[2].c_str(), -1));
    EXPECT_FALSE(UsbSensorSlots_hasNode(names[2].c_str()));
    for (const uint32_t beyond : {2U, 3U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(UsbSensorSlots_isOpen(beyond));
        EXPECT_EQ(lossOf(beyond), UsbSlotLoss::none);
        UsbSensorSlots_offerAgain(beyond, -1);
        UsbSensorSlots_forgetLoss(beyond);
    }
    for (uint32_t slot = 0; slot < usbSensorCount; ++slot) {
        UsbSensorSlots_release(names[slot].c_str());
        EXPECT_FALSE(UsbSensorSlots_isOpen(slot)) << slot;
        EXPECT_EQ(UsbSensorSlots_take(slot).fd, -1);
    }
}

TEST(UsbSensorSlots, ALossEndsWithItsDevice) {
    const auto openSomething = [] { return open("/dev/null", O_RDWR | O_CLOEXEC); };
    ASSERT_TRUE(UsbSensorSlots_offer(usbPort1Name, openSomething()));
    takeAndLose(0);
    UsbSensorSlots_forgetLoss(0);
    EXPECT_EQ(lossOf(0), UsbSlotLoss::none);
    UsbSensorSlots_reportLost(0);
    UsbSensorSlots_offerAgain(0, openSomething());
    EXPECT_EQ(lossOf(0), UsbSlotLoss::none);
    takeAndLose(0);
    UsbSensorSlots_release(usbPort1Name);
    ASSERT_TRUE(UsbSensorSlots_offer(usbPort1Name, openSomething()));
    EXPECT_EQ(lossOf(0), UsbSlotLoss::none) << "of the next sensor";
    takeAndLose(0);
    UsbSensorSlots_release(usbPort1Name);
    EXPECT_EQ(UsbSensorSlots_take(0).fd, -1);
}

} // namespace
