#include "EthernetConfig.h"

#include "message.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

ETHCONFIG_S* ethConfig = nullptr;

namespace {

constexpr size_t shortestAddress = 7; // "0.0.0.0"
constexpr const char* defaultNetmask = "255.255.255.0";

using Text = char[ethernetTextSize];

void copyText(Text& to, const char* from) {
    snprintf(to, sizeof to, "%s", from);
}

void copyUnlessEmpty(Text& to, const char* from) {
    if (from != nullptr && from[0] != '\0') {
        copyText(to, from);
    }
}

void copyRunningValues(ETHCONFIG_IP_S& ip) {
    copyUnlessEmpty(ip.address, get_ip_address(ethernetInterfaceName));
    copyUnlessEmpty(ip.netmask, get_netmask(ethernetInterfaceName));
    copyUnlessEmpty(ip.gateway, get_gateway(ethernetInterfaceName));
}

/// Takes the edited values over as the static ones. False if there is no address.
bool takeStaticValues(ETHCONFIG_S& config) {
    ETHCONFIG_NEWIP_S& edited = config.newIp;
    if (strnlen(edited.address, sizeof edited.address) < shortestAddress) {
        edited.method = config.method;
        return false;
    }
    config.method = ethernetMethodStatic;
    if (edited.netmask[0] == '\0') {
        copyText(edited.netmask, defaultNetmask);
    }
    copyText(config.ipStatic.address, edited.address);
    copyText(config.ipStatic.netmask, edited.netmask);
    copyText(config.ipStatic.gateway, edited.gateway);
    return true;
}

} // namespace

void initEthConfig() {
    destroyEthConfig();
    ethConfig = static_cast<ETHCONFIG_S*>(calloc(1, sizeof *ethConfig));
    if (ethConfig == nullptr) {
        DIAGNOSTIC("%s: ethConfig malloc failed\n", __func__);
        return;
    }
    ethConfig->checkIp = validate_ip;
    ethConfig->checkNetmask = validate_netmask;
}

void destroyEthConfig() {
    free(ethConfig);
    ethConfig = nullptr;
}

void ethernetGetConfig(ETHCONFIG_S* config) {
    int method = -1;
    get_conf_inet(ethernetInterfaceName, &method, nullptr, nullptr, nullptr);
    if (method == ethernetMethodDhcp) {
        config->method = ethernetMethodDhcp;
        copyRunningValues(config->ipDhcp);
    } else if (method == ethernetMethodStatic) {
        config->method = ethernetMethodStatic;
        copyRunningValues(config->ipStatic);
    }
}

bool ethernetSetConfig(ETHCONFIG_S* config) {
    if (config->newIp.method == ethernetMethodDhcp) {
        config->method = ethernetMethodDhcp;
    } else if (!takeStaticValues(*config)) {
        return false;
    }
    const ETHCONFIG_IP_S& ip = config->ipStatic;
    set_conf_inet(ethernetInterfaceName, config->method, ip.address, ip.netmask, ip.gateway);
    return true;
}
