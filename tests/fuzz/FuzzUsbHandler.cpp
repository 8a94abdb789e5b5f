// A USB sensor's handler, from the reset to the pulse readings: whatever the sensor replies, to
// every query there is. The first byte is the state to begin in, the second holds the pulse mode
// and whether a configuration waits; each message of the input begins with its length.
#include "Configuration.h"
#include "FuzzTime.h"
#include "FuzzUsbDevice.h"
#include "PulseConfig.h"
#include "SensorPortHandler.h"
#include "UsbSensorConfig.h"
#include "UsbSensorHandler.h"
#include "World.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int mostSteps = 48;
constexpr int mostRestarts = 3;
constexpr size_t lengthUnit = 1;

;

bool prepare() {
    if (World_folder().empty()) {
        abort();
    }
    setConfigurationFile("");
    readConfigFile();
    sensorPortHandler_setPulseConfigFile("");
    return true;
}

void beginConnection(USB_HANDLER_DATA_STRUCT* handler, int fd, const uint8_t* data) {
    sensorUsbHandler_resetSensorInformation(handler);
    handler->usbPort.fd = fd;
    handler->usbPort.portClosed = false;
    handler->usbPort.configDone = false;
    handler->usbPort.initTimeout = false;
    handler->usbtmcSubstate = data[1] / 8U;
    handler->usbtmcRetryCount = 5;
    handler->newConfig = (data[1] & 2U) != 0;
    handler->sensorConfigs = {};
    handler->sensorConfigs.bSupportsTriggeredGates = (data[1] & 4U) != 0;
    handler->sensorConfigs.bModelIsTriggeredGates = (data[1] & 4U) != 0;
    handler->sensorState = static_cast<sensorUsbCommState>(data[0] % 14);
}

bool isOrderly(const USB_HANDLER_DATA_STRUCT& handler) {
    const SENSOR_IDENTITY& identity = handler.sensorIdentity;
    const char* const number = handler.serialNumber;
    return strlen(identity.sensorModel) <= 20 && strlen(identity.sensorFirmwareRevision) <= 48 &&
           strlen(number) <= 9 && strspn(number, "0123456789") == strlen(number) &&
           handler.sensorState <= stateUsbIdle && handler.usbtmc_Errors.count <= 5;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool isPrepared = prepare();
    if (!isPrepared || size < 4) {
        return 0;
    }
    const bool pulseMode = (data[1] & 1U) != 0;
    if (configuration_getPulseMode() != pulseMode) {
        configuration_setPulseMode(pulseMode);
    }
    FuzzTime_reset();
    const FuzzUsbDevice device;
    device.reply(data + 2, size - 2, lengthUnit);
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[0];
    beginConnection(&handler, device.fd(), data);
    int restarts = 0;
    for (int step = 0; step < mostSteps && restarts < mostRestarts; ++step) {
        sensorUsbHandler_handleSensorStates(&handler);
        device.listen();
        if (!isOrderly(handler)) {
            abort();
        }
        if (handler.sensorState == stateUsbStart) {
            // Where nobody answers the clearing, it is taken for done.
            ++restarts;
            handler.usbtmcSubstate = 0;
            handler.sensorState = stateUsbConnect;
        }
    }
    handler.usbPort.fd = -1;
    return 0;
}
