#include "SensorRecords.h"

#include "CSimpleTimer.h"
#include "LogManager.h"
#include "SensorPortSignals.h"
#include "Threads.h"

#include <cstring>

namespace {

constexpr size_t serialDigits = sensorSerialNumberSize - 1;

/// A handler's name in the trace.
const char* handlerName(uint32_t port) {
    return SensorPort_isUsb(port) ? "sensorUsbHandler" : "sensorSerialHandler";
}

} // namespace

void SensorRecords_reset(const SensorRecords& records) {
    {
        const ScopedLock lock(sensorPortInfoMutex[records.port]);
        *records.identity = SensorRecords_noIdentity();
        memset(records.serialNumber, 0, sensorSerialNumberSize);
    }
    const ScopedLock lock(sensorPortMeasureMutex[records.port]);
    sensorPortHandler_setMeasurementsToDefault(records.measurements);
}

void SensorRecords_setStatus(const SensorRecords& records, SensorStatus status) {
    const ScopedLock lock(sensorPortInfoMutex[records.port]);
    if (status == isReady && records.status->status != isReady) {
        SensorPortSignals_breakSilence(records.port); // before anybody asks for its first value
    }
    records.status->status = status;
}

void SensorRecords_storeSerialNumber(const SensorRecords& records, const char* reply) {
    const ScopedLock lock(sensorPortInfoMutex[records.port]);
    // A sensor may be asked again: the digits would be appended to those that are there.
    records.serialNumber[0] = '\0';
    validateSerialNumber(records.serialNumber, reply);
}

void SensorRecords_logIdentity(uint32_t port, const SENSOR_IDENTITY& identity) {
    logManager_printToLog(
        SensorCommunications, "%s: port %u: model = %s, firmware = %s, power = %g..%g W\n",
        handlerName(port), port, identity.sensorModel, identity.sensorFirmwareRevision,
        static_cast<double>(identity.sensorPower.min),
        static_cast<double>(identity.sensorPower.max));
}

double SensorRecords_endCycle(uint32_t port, double start_time_ms, double* finish_time_ms) {
    const uint32_t finish = getTime_ms();
    *finish_time_ms = finish;
    // Both times come from a 32-bit clock that wraps, so the difference is taken in 32 bits.
    const uint32_t cycle = finish - static_cast<uint32_t>(start_time_ms);
    logManager_printToLog(SensorCommunications, "%s: port %u: measuring cycle = %u ms\n",
                          handlerName(port), port, cycle);
    SensorPortSignals_noteCycle(port, cycle);
    return cycle;
}

void validateSerialNumber(char* serialNumber, const char* buffer) {
    size_t length = strnlen(serialNumber, serialDigits);
    // All nine bytes count, even those past the text's end: what a sensor's memory does not give is
    // taken from what stood there (docs/compatibility.md: digits-of-nine).
    for (size_t index = 0; index < serialDigits; ++index) {
        const char letter = buffer[index];
        if (letter >= '0' && letter <= '9' && length < serialDigits) {
            serialNumber[length++] = letter;
            serialNumber[length] = '\0';
        }
    }
}

void sensorPortHandler_setMeasurementsToDefault(SENSOR_MEASUREMENTS* measurements) {
    *measurements = SensorMeasurements_none();
}
