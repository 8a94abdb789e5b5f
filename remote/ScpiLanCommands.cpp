// LAN settings: staged, then applied by a restart; and the instrument's preset.
#include "Configuration.h"
#include "EthernetUtilities.h"
#include "PulseConfig.h"
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiErrors.h"
#include "ScpiLink.h"
#include "ScpiReaders.h"
#include "ScpiRecord.h"
#include "SerialPort.h"
#include "Threads.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

constexpr const char* defaultNetmask = "255.255.255.0";
constexpr int32_t methodDhcp = 0;
constexpr int32_t methodStatic = 1;
constexpr size_t shortestAddress = 7; ///< as in 1.2.3.4

using LanText = char[scpiLanTextSize];

LANCONFIG_IP_S stagedLan() {
    SCPI_S* record = scpi;
    const ScopedLock lock(record->lock);
    return record->newLan;
}

void clearStagedTexts(LANCONFIG_IP_S* lan) {
    lan->address[0] = '\0';
    lan->netmask[0] = '\0';
    lan->gateway[0] = '\0';
}

void copyText(LanText& to, const char* from) {
    snprintf(to, sizeof to, "%s", from);
}

bool isAddress(const char* text) {
    return strlen(text) >= shortestAddress;
}

/// Stages a text that the check accepts; any other clears what was staged. One that is too long is
/// never copied.
template <typename Check>
scpi_result_t stageText(scpi_t* context, LanText LANCONFIG_IP_S::*member, Check isValid) {
    LanText staged = {};
    const std::optional<std::string_view> text =
        ScpiReaders_raw(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
    if (!text) {
        return SCPI_RES_ERR;
    }
    text->copy(staged, sizeof staged - 1);
    const bool accepted = text->size() < sizeof staged && isValid(staged);
    if (!accepted) {
        staged[0] = '\0';
    }
    SCPI_S* record = scpi;
    {
        const ScopedLock lock(record->lock);
        copyText(record->newLan.*member, staged);
    }
    return accepted ? SCPI_RES_OK : ScpiErrors_refuse(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
}

/// The interface as the interfaces file configures it.
LANCONFIG_IP_S configuredLan() {
    LANCONFIG_IP_S lan{};
    int method = -1;
    get_conf_inet(ethernetInterfaceName, &method, lan.address, lan.netmask, lan.gateway);
    lan.method = method;
    return lan;
}

/// What a static restart writes; false when there is no address to write.
bool completeStatic(LANCONFIG_IP_S* lan, const LANCONFIG_IP_S& current) {
    if (isAddress(lan->address)) {
        if (lan->netmask[0] == '\0') {
            copyText(lan->netmask, defaultNetmask);
        }
        return true;
    }
    if (!isAddress(current.address)) {
        return false;
    }
    // Keeping the address, a staged netmask gives way to the default one: remote programs rely
    // on what a restart writes (docs/compatibility.md: staged-netmask-lost).
    const bool keepsNetmask = lan->netmask[0] == '\0' && isAddress(current.netmask);
    copyText(lan->address, current.address);
    copyText(lan->netmask, keepsNetmask ? current.netmask : defaultNetmask);
    return true;
}

bool completeLan(LANCONFIG_IP_S* lan, const LANCONFIG_IP_S& current) {
    const bool isComplete =
        lan->method == methodDhcp || (lan->method == methodStatic && completeStatic(lan, current));
    if (isComplete && lan->gateway[0] == '\0' && isAddress(current.gateway)) {
        copyText(lan->gateway, current.gateway);
    }
    return isComplete;
}

void clearStaged(bool clearMethod) {
    SCPI_S* record = scpi;
    const ScopedLock lock(record->lock);
    clearStagedTexts(&record->newLan);
    if (clearMethod) {
        record->newLan.method = methodDhcp;
    }
}

bool presetSerialPort() {
    termios settings{};
    if (SerialPort_GetConfig(&settings) != 0) {
        return false;
    }
    cfsetispeed(&settings, B9600);
    cfsetospeed(&settings, B9600);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | PARODD);
    settings.c_cflag |= CS8;
    if (SerialPort_SetConfig(&settings) != 0) {
        return false;
    }
    writeConfigFile();
    return true;
}

void clearAllStaged() {
    SCPI_S* record = scpi;
    const ScopedLock lock(record->lock);
    record->newTty = {};
    record->newTtyBits = {};
    clearStagedTexts(&record->newLan);
    record->newLan.method = methodDhcp;
}

scpi_result_t SCPI_SystemCommLanAddress(scpi_t* context) {
    return ScpiLink_isQuery(context)
               ? ScpiAnswers_text(context, get_ip_address(ethernetInterfaceName))
               : stageText(context, &LANCONFIG_IP_S::address, scpi.load()->checkIp);
}

scpi_result_t SCPI_SystemCommLanGateway(scpi_t* context) {
    if (!ScpiLink_isQuery(context)) {
        return stageText(context, &LANCONFIG_IP_S::gateway, scpi.load()->checkIp);
    }
    const char* gateway = get_gateway(ethernetInterfaceName);
    return ScpiAnswers_text(context, gateway == nullptr ? "" : gateway);
}

scpi_result_t SCPI_SystemCommLanMask(scpi_t* context) {
    const SCPI_S* record = scpi;
    const auto isMask = [record](const char* text) {
        return record->checkIp(text) && record->checkNetmask(text);
    };
    return ScpiLink_isQuery(context) ? ScpiAnswers_text(context, get_netmask(ethernetInterfaceName))
                                     : stageText(context, &LANCONFIG_IP_S::netmask, isMask);
}

scpi_result_t SCPI_SystemCommLanDhcpState(scpi_t* context) {
    if (ScpiLink_isQuery(context)) {
        return ScpiAnswers_integer(context, configuredLan().method == methodDhcp ? 1 : 0);
    }
    scpi_parameter_t parameter{};
    double number = -1;
    if (!SCPI_Parameter(context, &parameter, TRUE)) {
        return SCPI_RES_ERR;
    }
    if (!SCPI_ParamIsNumber(&parameter, FALSE) ||
        !SCPI_ParamToDouble(context, &parameter, &number) || (number != 0 && number != 1)) {
        return ScpiErrors_refuse(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
    }
    SCPI_S* record = scpi;
    const ScopedLock lock(record->lock);
    record->newLan.method = number == 1 ? methodDhcp : methodStatic;
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemCommLanMac(scpi_t* context) {
    return ScpiAnswers_text(context, get_mac_address(ethernetInterfaceName));
}

scpi_result_t SCPI_SystemCommLanRestart(scpi_t* context) {
    LANCONFIG_IP_S lan = stagedLan();
    if (!completeLan(&lan, configuredLan())) {
        clearStaged(true);
        return ScpiErrors_refuse(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
    }
    // The staged method stays for the next restart.
    clearStaged(false);
    if (set_conf_inet(ethernetInterfaceName, lan.method, lan.address, lan.netmask, lan.gateway) !=
        0) {
        return SCPI_RES_ERR;
    }
    network_restart();
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemPreset(scpi_t* context) {
    (void)context;
    const bool serialIsPreset = presetSerialPort();
    clearAllStaged();
    const bool lanIsPreset = set_conf_inet(ethernetInterfaceName, methodDhcp, "", "", "") == 0;
    if (lanIsPreset) {
        network_restart();
    }
    sensorPortHandler_presetSensorConfig();
    return serialIsPreset && lanIsPreset ? SCPI_RES_OK : SCPI_RES_ERR;
}

// clang-format off
constexpr scpi_command_t rows[] = {
    {"SYSTem:COMMunicate:LAN:ADDRess?", SCPI_SystemCommLanAddress, 0},
    {"SYSTem:COMMunicate:LAN:ADDRess", SCPI_SystemCommLanAddress, 0},
    {"SYSTem:COMMunicate:LAN:GATeway?", SCPI_SystemCommLanGateway, 0},
    {"SYSTem:COMMunicate:LAN:GATeway", SCPI_SystemCommLanGateway, 0},
    {"SYSTem:COMMunicate:LAN:MASk?", SCPI_SystemCommLanMask, 0},
    {"SYSTem:COMMunicate:LAN:MASk", SCPI_SystemCommLanMask, 0},
    {"SYSTem:COMMunicate:LAN:DHCP[:STATe]?", SCPI_SystemCommLanDhcpState, 0},
    {"SYSTem:COMMunicate:LAN:DHCP[:STATe]", SCPI_SystemCommLanDhcpState, 0},
    {"SYSTem:COMMunicate:LAN:MAC?", SCPI_SystemCommLanMac, 0},
    {"SYSTem:COMMunicate:LAN:RESTart", SCPI_SystemCommLanRestart, 0},
    {"SYSTem:PRESet", SCPI_SystemPreset, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiLanCommands = rows;
