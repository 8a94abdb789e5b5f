// A serial sensor's handler, from the flush to the temperature: whatever the line carries, in
// pieces that arrive one before each step. Each piece of the input begins with its length; the
// first byte is the state to begin in.
#include "FuzzTime.h"
#include "SensorPortHandler.h"
#include "SerialSensorHandler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int mostSteps = 64;

/// A line whose far end says what it likes and listens to nothing.
class Line {
public:
    Line() {
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data());
    }
    ~Line() {
        close(ends[0]);
        close(ends[1]);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    int fd() const {
        return ends[0];
    }
    void say(const uint8_t* data, size_t size) const {
        std::array<char, 512> heard;
        while (recv(ends[1], heard.data(), heard.size(), 0) > 0) {
        }
        send(ends[1], data, size, MSG_NOSIGNAL);
    }

private:
    std::array<int, 2> ends = {-1, -1};
};

bool isOrderly(const SERIAL_HANDLER_DATA_STRUCT& handler) {
    const SENSOR_IDENTITY& identity = handler.sensorIdentity;
    const char* const number = handler.serialNumber;
    return strlen(identity.sensorModel) <= 8 && strlen(identity.sensorFirmwareRevision) <= 8 &&
           strlen(identity.sensorSupportedCommands) <= 16 && strlen(number) <= 9 &&
           strspn(number, "0123456789") == strlen(number) &&
           std::isfinite(identity.sensorPower.max) && std::isfinite(identity.sensorPower.min) &&
           handler.sensorState >= stateSerConnect && handler.sensorState <= stateSerFramingSync;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) {
        return 0;
    }
    const Line line;
    FuzzTime_reset();
    SERIAL_HANDLER_DATA_STRUCT& handler = sensorSerialHandlerData[0];
    sensorSerialHandler_resetSensorInformation(&handler);
    handler.serialPort.fd = line.fd();
    handler.sensorState = static_cast<sensorSerCommState>(data[0] % 12);
    size_t at = 1;
    for (int step = 0; step < mostSteps && at < size; ++step) {
        const size_t length = std::min<size_t>(data[at], size - at - 1);
        line.say(data + at + 1, length);
        at += length + 1;
        sensorSerialHandler_handleSensorStates(&handler);
        if (!isOrderly(handler)) {
            abort();
        }
    }
    handler.serialPort.fd = -1;
    return 0;
}
