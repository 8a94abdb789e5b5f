#include "SerialCommandHandler.h"

#include "SensorDisplays.h"
#include "SensorPortHandler.h"
#include "SerialCommandSettings.h"
#include "SerialReading.h"
#include "SerialReset.h"
#include "SerialStatus.h"

namespace {

size_t writeReading(uint32_t port, measure_select_t selection, char* buffer, size_t capacity) {
    const SENSOR_MEASUREMENTS measured = sensorPortHandler_getSensorMeasurements(port);
    const bool isForward = selection == MEASURE_SELECT_FORWARD;
    const float power_W = isForward ? measured.fwdPwrVal : measured.rflPwrVal;
    const uint32_t range = SerialCommandSettings_moveRange(
        selection, power_W, sensorPortHandler_getSensorMinPower(port));
    return format_power(buffer, capacity, isForward ? "FC" : "RC", power_W,
                        sensorPortHandler_getSensorMaxPower(port), range);
}

} // namespace

void serial_command_handle_command(command_t command) {
    if (command >= COMMAND_R00 && command <= COMMAND_R17) {
        SerialRange_Setrange(command - COMMAND_R00);
        return;
    }
    switch (command) {
    case COMMAND_TRIGGER_1:
        SerialCommandSettings_setTriggerMode(TRIGGER_MODE_1);
        break;
    case COMMAND_TRIGGER_5:
        SerialCommandSettings_setTriggerMode(TRIGGER_MODE_5);
        break;
    case COMMAND_FORWARD:
        SerialCommandSettings_select(MEASURE_SELECT_FORWARD);
        break;
    case COMMAND_REFLECTED:
        SerialCommandSettings_select(MEASURE_SELECT_REFLECTED);
        break;
    case COMMAND_RNN:
        setAutoScale(false);
        break;
    case COMMAND_RYY:
        setAutoScale(true);
        break;
    case COMMAND_STATUS0:
        SerialStatus_HandleCommand0();
        break;
    case COMMAND_STATUS1:
        SerialStatus_HandleCommand1();
        break;
    case COMMAND_STATUS2:
        SerialStatus_HandleCommand2();
        break;
    case COMMAND_STATUSA:
        SerialStatus_HandleCommandA();
        break;
    case COMMAND_RESET:
        SerialReset_HandleCommand();
        SerialCommandSettings_setTriggerMode(TRIGGER_MODE_1);
        break;
    case COMMAND_SELFTEST:
        SerialStatus_SetSelfTestStatus(true); // the self test always passes
        break;
    default:
        break; // ENT is answered by the output thread
    }
}

uint32_t serial_command_handler_choosePort() {
    for (const SensorDisplayInstance& display : sensorDisplays) {
        const uint32_t port = display.sensorPort;
        if (port != sensorPort_None && sensorPortHandler_getIsConnected(port)) {
            return port;
        }
    }
    return sensorPort_None;
}

size_t serial_command_handle_response(command_t command, char* buffer, size_t capacity) {
    measure_select_t selection = MEASURE_SELECT_FORWARD;
    buffer[0] = '\0';
    if (command != COMMAND_ENTER || !SerialCommandSettings_takeSelection(&selection)) {
        return 0;
    }
    const uint32_t port = serial_command_handler_choosePort();
    return port == sensorPort_None ? 0 : writeReading(port, selection, buffer, capacity);
}
