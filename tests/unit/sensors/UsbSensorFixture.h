#ifndef TESTS_UNIT_SENSORS_USB_SENSOR_FIXTURE_H
#define TESTS_UNIT_SENSORS_USB_SENSOR_FIXTURE_H

#include "Configuration.h"
#include "PulseConfig.h"
#include "SensorPortHandler.h"
#include "UsbDevice.h"
#include "UsbSensorConfig.h"
#include "UsbSensorHandler.h"
#include "World.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

using Messages = std::vector<std::string>;

/// How often a reading was told.
inline std::atomic<uint32_t> told;

/// The settings and the pulse configuration at their standard places.
inline void prepareFiles() {
    setConfigurationFile("");
    readConfigFile();
    sensorPortHandler_setPulseConfigFile("");
}

/// A handler of USB2 whose sensor the test plays; its steps are run by the test.
class UsbSensor : public testing::Test {
protected:
    UsbSensor() {
        prepareFiles();
        configuration_setPulseMode(false);
        handler.usbPort.fd = UsbTmcPort_Open(0, usbPort1Name);
        handler.usbPort.portClosed = false;
        handler.usbPort.configDone = false;
        handler.usbPort.initTimeout = false;
        handler.isInitialized = false;
        handler.sensorStatus.status = notReady;
        handler.sensorPulseModeEnabled = false;
        handler.usbtmcSubstate = 0;
        sensorUsbHandler_resetSensorInformation(&handler);
        UsbSensorConfig_setServing(&handler, true);
        handler.sensorConfigs = {};
        EXPECT_TRUE(World_waitUntil([this] { return device.connectionCount() == 1; }, 30000));
        told = 0;
        sensorPortHandler_registerReadingListener([] { ++told; });
        World_skipSleeps(true);
        World_clearSyslog();
    }
    ~UsbSensor() override {
        World_skipSleeps(false);
        sensorPortHandler_registerReadingListener(nullptr);
        UsbSensorConfig_setServing(&handler, false);
        UsbTmcPort_Close(handler.usbPort.fd);
        handler.usbPort.fd = -1;
        configuration_setPulseMode(false);
    }
    sensorUsbCommState step(sensorUsbCommState state) {
        handler.sensorState = state;
        sensorUsbHandler_handleSensorStates(&handler);
        return handler.sensorState;
    }
    sensorUsbCommState step(sensorUsbCommState state, uint32_t substate) {
        handler.usbtmcSubstate = substate;
        return step(state);
    }
    /// Steps until the state is left, or changes its substate.
    sensorUsbCommState run(sensorUsbCommState state, sensorUsbCommState end) {
        handler.sensorState = state;
        for (int count = 0; count < 100 && handler.sensorState != end; ++count) {
            sensorUsbHandler_handleSensorStates(&handler);
        }
        return handler.sensorState;
    }
    void setCapabilities(bool supported) {
        handler.sensorConfigs.bSupportsAutoPeriod = supported;
        handler.sensorConfigs.bSupportsAutoTiggerLevel = supported;
        handler.sensorConfigs.bSupportsTriggeredGates = supported;
    }
    bool isReadySet() const {
        return handler.isInitialized && handler.usbPort.configDone &&
               handler.sensorStatus.status == isReady;
    }
    SENSOR_MEASUREMENTS& readings() const {
        return handler.sensorMeasurements;
    }

    UsbDevice device{0};
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[1];
};

#endif
