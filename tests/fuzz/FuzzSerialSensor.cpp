// What a serial sensor replies: any bytes give a terminated identity, nine digits at most, and
// numbers.
#include "SensorRecords.h"
#include "SerialSensorProtocol.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::array<char, 64> buffer{};
    memcpy(buffer.data(), data, std::min(size, buffer.size()));
    SENSOR_IDENTITY identity{};
    std::array<char, sensorSerialNumberSize> serialNumber{};
    for (int reading = 0; reading < 2; ++reading) {
        parseIdentity(buffer.data(), &identity);
        validateSerialNumber(serialNumber.data(), buffer.data() + 40);
    }
    if (strlen(identity.sensorModel) > 8 || strlen(identity.sensorFirmwareRevision) > 8 ||
        strlen(identity.sensorSupportedCommands) > 16 ||
        strspn(serialNumber.data(), "0123456789") != strlen(serialNumber.data()) ||
        !std::isfinite(identity.sensorPower.max) ||
        !std::isfinite(parseMeasurement(buffer.data()))) {
        abort();
    }
    strContainsList(identity.sensorSupportedCommands, buffer.data(), 16);
    SerialSensorProtocol_hasNoSerialNumber(identity.sensorModel);
    return 0;
}
