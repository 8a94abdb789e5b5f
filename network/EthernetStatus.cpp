#include "EthernetStatus.h"

#include "EthernetConfig.h"
#include "Files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char* carrierFile = "/sys/class/net/eth0/carrier";
constexpr const char* aliasName = "eth0:0";

template <size_t size> void copyText(char (&to)[size], const char* from) {
    snprintf(to, size, "%s", from != nullptr ? from : "");
}

const char* linkText() {
    char carrier = '\0';
    const long count = File_readStart(carrierFile, &carrier, 1);
    if (count > 0) {
        return carrier == '1' ? "up" : "down";
    }
    // The kernel does not look for a carrier while the interface is switched off.
    return count < 0 && errno == EINVAL ? "down" : "";
}

const char* methodText() {
    int method = -1;
    get_conf_inet(ethernetInterfaceName, &method, nullptr, nullptr, nullptr);
    if (method == ethernetMethodDhcp) {
        return "DHCP";
    }
    return method == ethernetMethodStatic ? "Static" : "";
}

} // namespace

void EthernetStatus_refresh(EthernetStatus* status) {
    const char* const link = linkText();
    if (!status->isRead || strcmp(status->link, link) != 0) {
        copyText(status->mac, get_mac_address(ethernetInterfaceName));
    }
    copyText(status->link, link);
    copyText(status->method, methodText());
    copyText(status->address, get_ip_address(ethernetInterfaceName));
    copyText(status->netmask, get_netmask(ethernetInterfaceName));
    copyText(status->gateway, get_gateway(ethernetInterfaceName));
    copyText(status->fixedAddress, get_ip_address(aliasName));
    status->isRead = true;
}
