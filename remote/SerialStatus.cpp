#include "SerialStatus.h"

#include "EthernetUtilities.h"
#include "FirmwareVersion.h"
#include "SerialCommandSettings.h"
#include "SerialPort.h"
#include "SerialReading.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

namespace {

std::atomic<bool> validCommand{true};
std::atomic<bool> validParameter{true};
std::atomic<bool> selfTestStatus{false};

/// Sends a reply; `text` has room for the line end behind a text that was cut.
void sendLine(char (&text)[serialStatusReplySize]) {
    const size_t length = std::min(strlen(text), sizeof text - strlen(scpi_terminator) - 1);
    snprintf(text + length, sizeof text - length, "%s", scpi_terminator);
    SerialPort_puts(text);
}

} // namespace

void SerialStatus_InitializeStatus() {
    validCommand = true;
    validParameter = true;
    selfTestStatus = false;
}

void SerialStatus_SetCommandStatus(bool isValid) {
    validCommand = isValid;
}

void SerialStatus_SetParameterStatus(bool isValid) {
    validParameter = isValid;
}

void SerialStatus_SetSelfTestStatus(bool isPassed) {
    selfTestStatus = isPassed;
}

void SerialStatus_HandleCommand0() {
    const SerialCommandSettings settings = SerialCommandSettings_get();
    char range[8] = "RYY";
    if (!settings.autoscale) {
        snprintf(range, sizeof range, "R%02d",
                 std::clamp(settings.forward_range, 0, lastSerialRange));
    }
    char reply[serialStatusReplySize];
    snprintf(reply, sizeof reply, " 6610 %s%sPYYT%sXF",
             settings.measure_select == MEASURE_SELECT_REFLECTED ? " RC" : " FC", range,
             settings.trigger_mode == TRIGGER_MODE_5 ? "T5" : "T1");
    sendLine(reply);
}

void SerialStatus_HandleCommand1() {
    char reply[serialStatusReplySize];
    snprintf(reply, sizeof reply, " 6610 %s%s%s ", validCommand ? " VCM" : " ICM",
             validParameter ? " VCO" : " ICO", selfTestStatus ? " PS" : " FL");
    sendLine(reply);
    SerialStatus_InitializeStatus();
}

void SerialStatus_HandleCommand2() {
    char reply[serialStatusReplySize] = " 6610   0100 RS232";
    sendLine(reply);
}

void SerialStatus_HandleCommandA() {
    const version_t version = FirmwareVersion_readTags();
    char reply[serialStatusReplySize];
    snprintf(reply, sizeof reply, "UA %s;%s;%s %s %s", get_mac_address(ethernetInterfaceName),
             get_ip_address(ethernetInterfaceName), version.build_hostname, version.build_date,
             version.build_uuid);
    sendLine(reply);
}
