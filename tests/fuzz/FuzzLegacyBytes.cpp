// The older meter's protocol: any bytes, and readings of any power in any limits. Every byte is
// taken with at most one further poll, and every reading is one line.
#include "Configuration.h"
#include "LogManager.h"
#include "SensorDisplays.h"
#include "SensorPortHandler.h"
#include "SerialCommandHandler.h"
#include "SerialCommandInterpreter.h"
#include "SerialCommandSettings.h"
#include "SerialPort.h"
#include "SerialSensorHandler.h"
#include "SerialStatus.h"
#include "World.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr size_t headSize = 4 * sizeof(float);
constexpr size_t replySize = 64;

bool prepare() {
    if (World_folder().empty()) {
        abort();
    }
    LogManager_create();
    setConfigurationFile("");
    readConfigFile();
    sensorDisplays[0].sensorPort = sensorPort_Serial1;
    sensorPortHandler_setIsConnected(sensorPort_Serial1, true);
    SerialPort_Open("/dev/null");
    return true;
}

/// Forward and reflected power, and the sensor's limits.
void measure(const uint8_t* data) {
    std::array<float, 4> values;
    memcpy(values.data(), data, headSize);
    SensorPortHandler_setSimulatedMeasurements(sensorPort_Serial1, values[0], values[1], 1.0e6F,
                                               25.0F, 0.0F);
    sensorSerialHandlerData[0].sensorIdentity.sensorPower = {values[2], values[3]};
}

void answer(command_t command) {
    std::array<char, replySize> reply;
    reply.fill('x');
    const size_t length = serial_command_handle_response(command, reply.data(), reply.size());
    const std::string_view text(reply.data());
    if (text.size() != length || (length > 0 && text.find("\r\n") != length - 2)) {
        abort();
    }
}

void take(char character) {
    command_t command = serial_command_interpret_input(character);
    if (command == COMMAND_RETRY) {
        command = serial_command_interpret_input(character);
        if (command == COMMAND_RETRY) {
            abort();
        }
    }
    // The reset rewrites the settings file, which the settings' own target covers.
    if (command != COMMAND_RESET) {
        serial_command_handle_command(command);
    }
    answer(command);
}

bool isOrderly() {
    const SerialCommandSettings settings = SerialCommandSettings_get();
    return settings.forward_range >= 0 && settings.forward_range <= 17 &&
           settings.reflected_range >= 0 && settings.reflected_range <= 17 && receive_state >= 0 &&
           receive_state < receiveStateCount;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool isPrepared = prepare();
    if (!isPrepared || size <= headSize) {
        return 0;
    }
    measure(data);
    serial_command_interpreter_reset();
    serial_command_handler_reset();
    SerialStatus_InitializeStatus();
    for (size_t at = headSize; at < size; ++at) {
        take(static_cast<char>(data[at]));
        if (!isOrderly()) {
            abort();
        }
    }
    return 0;
}
