#include "SerialStatus.h"

#include "EthernetUtilities.h"
#include "SerialCommandHandler.h"
#include "SerialPort.h"
#include "message.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char* interfaceName = "eth0";
constexpr const char* buildInformationFile = "/usr/local/etc/defconfig/buildInstalled";
constexpr int lineSize = 64;
constexpr int lastRange = 17;

std::atomic<bool> validCommand{true};
std::atomic<bool> validParameter{true};
std::atomic<bool> selfTestStatus{false};

enum tag_id_t : int { TAG_ID_DATE = 0, TAG_ID_HOSTNAME = 1, TAG_ID_UUID = 2, TAG_ID_LENGTH = 3 };
constexpr const char* tag_label[TAG_ID_LENGTH] = {"BUILD_DATE", "BUILD_HOSTNAME", "BUILD_UUID"};

struct version_t {
    char build_date[32];
    char build_hostname[32];
    char build_uuid[48];
};

void takeValue(version_t* version, const char* key, const char* value) {
    if (strcmp(key, tag_label[TAG_ID_DATE]) == 0) {
        snprintf(version->build_date, sizeof version->build_date, "%s", value);
    } else if (strcmp(key, tag_label[TAG_ID_HOSTNAME]) == 0) {
        snprintf(version->build_hostname, sizeof version->build_hostname, "%s", value);
    } else if (strcmp(key, tag_label[TAG_ID_UUID]) == 0) {
        snprintf(version->build_uuid, sizeof version->build_uuid, "%s", value);
    }
}

version_t readVersion() {
    version_t version{};
    FILE* file = fopen(buildInformationFile, "re");
    if (file == nullptr) {
        DIAGNOSTIC("fopen %s errno=%d", buildInformationFile, errno);
        return version;
    }
    char line[lineSize];
    while (fgets(line, sizeof line, file) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        char* separator = strchr(line, '=');
        if (separator != nullptr) {
            *separator = '\0';
            takeValue(&version, line, separator + 1);
        }
    }
    fclose(file);
    return version;
}

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
    const SerialCommandSettings settings = serial_command_handler_getSettings();
    char range[8] = "RYY";
    if (!settings.autoscale) {
        snprintf(range, sizeof range, "R%02d", std::clamp(settings.forward_range, 0, lastRange));
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
    const version_t version = readVersion();
    char reply[serialStatusReplySize];
    snprintf(reply, sizeof reply, "UA %s;%s;%s %s %s", get_mac_address(interfaceName),
             get_ip_address(interfaceName), version.build_hostname, version.build_date,
             version.build_uuid);
    sendLine(reply);
}
