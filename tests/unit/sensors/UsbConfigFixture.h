#ifndef TESTS_UNIT_SENSORS_USB_CONFIG_FIXTURE_H
#define TESTS_UNIT_SENSORS_USB_CONFIG_FIXTURE_H

#include "UsbDevice.h"
#include "UsbSensorConfig.h"
#include "World.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Messages = std::vector<std::string>;

/// A handler of USB2 whose sensor the test plays; its functions are run by the test.
class UsbSensorConfig : public testing::Test {
protected:
    UsbSensorConfig() {
        handler.usbPort.fd = UsbTmcPort_Open(0, usbPort1Name);
        UsbTmcPort_forgetUnplugged();
        EXPECT_TRUE(World_waitUntil([this] { return device.connectionCount() == 1; }, 30000));
        device.clearSettings();
        UsbSensorConfig_setServing(&handler, true);
        handler.sensorConfigs = {};
        setCapabilities(true);
        World_clearSyslog();
    }
    ~UsbSensorConfig() override {
        UsbSensorConfig_setServing(&handler, false);
        UsbTmcPort_Close(handler.usbPort.fd);
        handler.usbPort.fd = -1;
        handler.usbPort.portState = sensorPortDisconnected;
    }
    void setCapabilities(bool supported) {
        handler.sensorConfigs.bSupportsAutoPeriod = supported;
        handler.sensorConfigs.bSupportsAutoTiggerLevel = supported;
        handler.sensorConfigs.bSupportsTriggeredGates = supported;
    }
    /// Settings that went out, in their order.
    Messages sent() const {
        Messages result;
        for (const std::string& message : device.conversation()) {
            if (message.find('?') == std::string::npos && message != "<C>") {
                result.push_back(message);
            }
        }
        return result;
    }
    Messages send() {
        device.clearMessages();
        handler.newConfig = true;
        EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
        EXPECT_FALSE(handler.newConfig);
        return sent();
    }

    UsbDevice device{0};
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[1];
};

/// Nothing automatic, and every value different.
inline SENSOR_CONFIGS manual() {
    SENSOR_CONFIGS configs{};
    configs.freqVal = 2000000.0F;
    configs.prdVal = 0.5F;
    configs.trigLevelVal = 12.5F;
    configs.trigSlope = 1;
    configs.trigDelayVal = -0.25F;
    configs.pulseStates[0] = {true, 0.1F, 0.2F};
    configs.pulseStates[1] = {false, 7.0F, 8.0F};
    configs.pulseStates[2] = {true, 0.3F, 0.4F};
    configs.gateBegin = 0.0001F;
    configs.gateEnd = -0.0002F;
    return configs;
}

#endif
