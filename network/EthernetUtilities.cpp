#include "EthernetUtilities.h"

#include "Files.h"
#include "InterfacesFile.h"
#include "message.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <string_view>

namespace {

constexpr const char* interfacesFileName = "/etc/network/interfaces";
constexpr const char* routeFileName = "/proc/net/route";
constexpr const char* restartCommand = "/etc/init.d/network restart";

constexpr int methodStatic = 1;
constexpr size_t macSize = 18;
constexpr socklen_t hostSize = 1025; // what a numeric host look-up may fill
constexpr size_t routeLineSize = 512;
constexpr uint32_t highestOctet = 255;
constexpr int octetCount = 4;

using Host = std::array<char, hostSize>;

std::atomic<void (*)()> restartListener;

/// Which of an interface's addresses is asked for.
using AddressOf = const sockaddr* (*)(const ifaddrs&);

const sockaddr* ownAddress(const ifaddrs& entry) {
    return entry.ifa_addr;
}

const sockaddr* ownNetmask(const ifaddrs& entry) {
    return entry.ifa_netmask;
}

bool isIpv4(const ifaddrs& entry) {
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET;
}

const ifaddrs* findIpv4(const ifaddrs* entry, const char* name) {
    while (entry != nullptr && (!isIpv4(*entry) || strcmp(entry->ifa_name, name) != 0)) {
        entry = entry->ifa_next;
    }
    return entry;
}

bool hasAddress(const ifaddrs& entry, in_addr address) {
    return isIpv4(entry) &&
           reinterpret_cast<const sockaddr_in*>(entry.ifa_addr)->sin_addr.s_addr == address.s_addr;
}

void writeNumericHost(const sockaddr* address, Host& host) {
    const int error = getnameinfo(address, sizeof(sockaddr_in), host.data(), hostSize, nullptr, 0,
                                  NI_NUMERICHOST);
    if (error != 0) {
        DIAGNOSTIC("getnameinfo() failed: %s\n", gai_strerror(error));
        host[0] = '\0';
    }
}

const char* lookUpAddress(const char* name, AddressOf addressOf, Host& host) {
    host[0] = '\0';
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        DIAGNOSTIC("getifaddrs errno=%d\n", errno);
        return host.data();
    }
    const ifaddrs* entry = findIpv4(list, name);
    const sockaddr* address = entry != nullptr ? addressOf(*entry) : nullptr;
    if (address != nullptr) {
        writeNumericHost(address, host);
    }
    freeifaddrs(list);
    return host.data();
}

void copyText(std::string_view value, char* text) {
    if (text != nullptr) {
        const size_t length = value.copy(text, ethernetTextSize - 1);
        text[length] = '\0';
    }
}

std::string_view textOrEmpty(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

bool isDigit(char character) {
    return isdigit(static_cast<unsigned char>(character)) != 0;
}

/// Takes one number of an address. False unless it has digits and is at most 255.
bool takeOctet(const char*& text) {
    uint32_t value = 0;
    const char* start = text;
    for (; isDigit(*text); ++text) {
        value = std::min(value * 10 + static_cast<uint32_t>(*text - '0'), highestOctet + 1);
    }
    return text != start && value <= highestOctet;
}

} // namespace

const char* get_mac_address(const char* name) {
    thread_local std::array<char, macSize> mac{};
    mac[0] = '\0';
    std::array<char, PATH_MAX> path{};
    snprintf(path.data(), path.size(), "/sys/class/net/%s/address", name);
    FILE* file = fopen(path.data(), "re");
    if (file == nullptr) {
        DIAGNOSTIC("fopen %s errno=%d\n", path.data(), errno);
        return mac.data();
    }
    if (fgets(mac.data(), static_cast<int>(mac.size()), file) == nullptr) {
        DIAGNOSTIC("fgets errno=%d\n", errno);
        mac[0] = '\0';
    }
    fclose(file);
    return mac.data();
}

const char* get_ip_address(const char* name) {
    thread_local Host host{};
    return lookUpAddress(name, ownAddress, host);
}

const char* get_netmask(const char* name) {
    thread_local Host host{};
    return lookUpAddress(name, ownNetmask, host);
}

const char* get_gateway(const char* /*name*/) {
    thread_local std::array<char, INET_ADDRSTRLEN> gatewayText{};
    FILE* file = fopen(routeFileName, "re");
    if (file == nullptr) {
        return nullptr;
    }
    const char* found = nullptr;
    std::array<char, routeLineSize> line{};
    std::array<char, routeLineSize> interface {};
    while (found == nullptr && fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
        unsigned long destination = 0;
        unsigned long gateway = 0;
        if (sscanf(line.data(), "%511s %lx %lx", interface.data(), &destination, &gateway) == 3 &&
            destination == 0) {
            // The kernel prints the address's bytes as one number of its own byte order.
            const in_addr address{static_cast<in_addr_t>(gateway)};
            found = inet_ntop(AF_INET, &address, gatewayText.data(), gatewayText.size());
        }
    }
    fclose(file);
    return found;
}

int get_conf_inet(const char* name, int* method, char* address, char* netmask, char* gateway) {
    const bool isNamed = name != nullptr && name[0] != '\0';
    const auto text = isNamed ? File_readWhole(interfacesFileName, SIZE_MAX) : std::nullopt;
    const InterfaceStanza stanza =
        text ? InterfacesFile_read(*text, name) : InterfaceStanza{-1, {}, {}, {}};
    *method = stanza.method;
    copyText(stanza.address, address);
    copyText(stanza.netmask, netmask);
    copyText(stanza.gateway, gateway);
    return text ? 0 : 1;
}

int set_conf_inet(const char* name, int method, const char* address, const char* netmask,
                  const char* gateway) {
    const auto text = File_readWhole(interfacesFileName, SIZE_MAX);
    if (!text) {
        return 1;
    }
    const auto replaced = InterfacesFile_replace(
        *text, name,
        InterfacesFile_stanza(name, method == methodStatic, textOrEmpty(address),
                              textOrEmpty(netmask), textOrEmpty(gateway)));
    if (!replaced) {
        DIAGNOSTIC("%s has no stanza of %s\n", interfacesFileName, name);
        return 1;
    }
    if (!File_replace(interfacesFileName, *replaced)) {
        DIAGNOSTIC("Cannot write %s errno=%d\n", interfacesFileName, errno);
        return 1;
    }
    return 0;
}

void network_removeAbandonedFiles() {
    File_removeAbandonedSiblings(interfacesFileName);
}

bool Ethernet_isOwnAddress(in_addr address) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        DIAGNOSTIC("getifaddrs errno=%d\n", errno);
        return true;
    }
    const ifaddrs* entry = list;
    while (entry != nullptr && !hasAddress(*entry, address)) {
        entry = entry->ifa_next;
    }
    const bool isFound = entry != nullptr;
    freeifaddrs(list);
    return isFound;
}

void network_restart() {
    File_runShellCommand(restartCommand);
    void (*const listener)() = restartListener;
    if (listener != nullptr) {
        listener();
    }
}

void network_registerRestartListener(void (*listener)()) {
    restartListener = listener;
}

bool validate_number(const char* text) {
    return text != nullptr && std::all_of(text, text + strlen(text), isDigit);
}

bool validate_ip(const char* text) {
    if (text == nullptr) {
        return false;
    }
    for (int octet = 0; octet < octetCount; ++octet) {
        if ((octet > 0 && *text++ != '.') || !takeOctet(text)) {
            return false;
        }
    }
    return *text == '\0';
}

bool validate_netmask(const char* text) {
    std::array<int, octetCount> octets{};
    if (text == nullptr || sscanf(text, "%9d.%9d.%9d.%9d", &octets[0], &octets[1], &octets[2],
                                  &octets[3]) != octetCount) {
        return false;
    }
    uint32_t mask = 0;
    for (const int octet : octets) {
        if (octet < 0 || octet > static_cast<int>(highestOctet)) {
            return false;
        }
        mask = mask << CHAR_BIT | static_cast<uint32_t>(octet);
    }
    const uint32_t inverted = ~mask;
    return mask != 0 && ((inverted + 1) & inverted) == 0;
}
