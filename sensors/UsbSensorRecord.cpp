#include "UsbSensorRecord.h"

#include "SensorPortSignals.h"
#include "SensorRecords.h"
#include "Threads.h"

namespace {

/// Records are read by other threads before the handler's thread exists.
constexpr USB_HANDLER_DATA_STRUCT emptyHandler(int channel) {
    USB_HANDLER_DATA_STRUCT empty{};
    empty.usbPort.channelIndex = channel;
    empty.usbPort.portClosed = true;
    empty.usbPort.fd = -1;
    empty.sensorMeasurements = SensorMeasurements_none();
    empty.sensorIdentity = SensorRecords_noIdentity();
    empty.usbtmcConfigureComplete = PTHREAD_COND_INITIALIZER;
    return empty;
}

} // namespace

USB_HANDLER_DATA_STRUCT sensorUsbHandlerData[usbSensorCount] = {emptyHandler(0), emptyHandler(1)};

uint32_t sensorUsbHandler_port(const USB_HANDLER_DATA_STRUCT* handler) {
    return handler->usbPort.channelIndex == 0 ? sensorPort_USB1 : sensorPort_USB2;
}

SENSOR_CONFIGS UsbSensorRecord_copyConfigs(const USB_HANDLER_DATA_STRUCT* handler) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    return handler->sensorConfigs;
}
