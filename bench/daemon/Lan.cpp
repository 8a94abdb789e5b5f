#include "Lan.h"

#include "BenchText.h"
#include "WorldFolder.h"
#include "WorldTree.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <vector>

namespace {

constexpr const char* interfacesFile = "/etc/network/interfaces";
constexpr const char* routeFile = "/proc/net/route";
constexpr const char* wired = "eth0";
constexpr const char* macFile = "/sys/class/net/eth0/address";
constexpr const char* carrierFile = "/sys/class/net/eth0/carrier";
constexpr const char* stateFile = "/sys/class/net/eth0/operstate";
constexpr const char* usualLease = "192.168.1.50 255.255.255.0";
constexpr const char* leaseGateway = "192.168.1.1";
constexpr const char* usualNetmask = "255.255.255.0";

struct Interface {
    std::string name;
    std::string method;
    std::string address;
    std::string netmask;
    std::string gateway;
};

void takeOption(Interface& interface, std::string_view key, std::string_view value) {
    if (key == "address") {
        interface.address = value;
    } else if (key == "netmask") {
        interface.netmask = value;
    } else if (key == "gateway") {
        interface.gateway = value;
    }
}

std::vector<Interface> readInterfaces(const std::string& text) {
    std::vector<Interface> interfaces;
    for (const std::string_view line : BenchText_split(text, '\n')) {
        const auto words = BenchText_words(line);
        if (words.size() >= 4 && words[0] == "iface") {
            interfaces.push_back({std::string(words[1]), std::string(words[3]), {}, {}, {}});
        } else if (words.size() >= 2 && !interfaces.empty()) {
            takeOption(interfaces.back(), words[0], words[1]);
        }
    }
    return interfaces;
}

/// "ADDRESS NETMASK", empty when it gets none.
std::string addressOf(const Interface& interface, const std::string& lease) {
    if (interface.method == "dhcp") {
        return lease;
    }
    const bool hasAddress = interface.method == "static" && !interface.address.empty();
    return hasAddress ? interface.address + " " +
                            (interface.netmask.empty() ? usualNetmask : interface.netmask)
                      : "";
}

/// A line of the kernel's table: its numbers are of its own byte order.
std::string routeLine(uint32_t destination, uint32_t gateway, uint32_t mask) {
    constexpr unsigned up = 1;
    constexpr unsigned throughGateway = 2;
    return BenchText_format("%s\t%08X\t%08X\t%04X\t0\t0\t0\t%08X\t0\t0\t0\n", wired, destination,
                            gateway, gateway != 0 ? up | throughGateway : up, mask);
}

uint32_t numberOf(const std::string& address) {
    in_addr number{};
    return inet_pton(AF_INET, address.c_str(), &number) == 1 ? number.s_addr : 0;
}

std::string routes(const std::string& address, const std::string& gateway) {
    std::string text =
        "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\t"
        "IRTT\n";
    const auto words = BenchText_words(address);
    if (words.size() != 2) {
        return text;
    }
    if (!gateway.empty()) {
        text += routeLine(0, numberOf(gateway), 0);
    }
    const uint32_t mask = numberOf(std::string(words[1]));
    return text + routeLine(numberOf(std::string(words[0])) & mask, 0, mask);
}

std::string interfacesOf(const Lan& lan) {
    return WorldFolder_read(lan.world, interfacesFile);
}

/// The addresses that are not the wired interface's: a restart leaves them.
std::string otherAddresses(const Lan& lan) {
    std::string others;
    const std::string addresses = WorldFolder_readFile(lan.world + "/" + WorldFile::addresses);
    for (const std::string_view line : BenchText_split(addresses, '\n')) {
        if (!line.empty() && !line.starts_with(wired)) {
            others += std::string(line) + "\n";
        }
    }
    return others;
}

bool hasLink(const Lan& lan) {
    return WorldFolder_read(lan.world, carrierFile).starts_with('1');
}

bool setLink(Lan& lan, std::string_view value, std::string& error) {
    const bool isUp = value == "up";
    if (!isUp && value != "down") {
        error = "link is up or down";
        return false;
    }
    return WorldFolder_write(lan.world, carrierFile, isUp ? "1\n" : "0\n") &&
           WorldFolder_write(lan.world, stateFile, std::string(value) + "\n");
}

bool setMac(Lan& lan, std::string_view value, std::string& /*error*/) {
    return WorldFolder_write(lan.world, macFile, std::string(value) + "\n");
}

bool setLease(Lan& lan, std::string_view value, std::string& error) {
    const auto parts = BenchText_split(value, '/');
    if (parts.size() != 2 || numberOf(std::string(parts[0])) == 0 ||
        numberOf(std::string(parts[1])) == 0) {
        error = "lease is ADDRESS/NETMASK such as 192.168.1.50/255.255.255.0";
        return false;
    }
    lan.lease = std::string(parts[0]) + " " + std::string(parts[1]);
    return true;
}

struct Key {
    std::string_view name;
    bool (*set)(Lan&, std::string_view, std::string&);
};
constexpr std::array<Key, 3> keys = {{{"link", setLink}, {"mac", setMac}, {"lease", setLease}}};

} // namespace

void Lan_open(Lan& lan, const std::string& world) {
    lan.world = world;
    lan.lease = usualLease;
    const auto interfaces = readInterfaces(interfacesOf(lan));
    const auto found = std::ranges::find(interfaces, wired, &Interface::name);
    if (found == interfaces.end() || found->method != "dhcp") {
        return;
    }
    const std::string addresses = WorldFolder_readFile(world + "/" + WorldFile::addresses);
    for (const std::string_view line : BenchText_split(addresses, '\n')) {
        const auto words = BenchText_words(line);
        if (words.size() == 3 && words[0] == wired) {
            lan.lease = std::string(words[1]) + " " + std::string(words[2]);
        }
    }
}

void Lan_restart(const Lan& lan) {
    std::string addresses = otherAddresses(lan) + wired + "\n";
    std::string route = routes({}, {});
    const std::string lease = hasLink(lan) ? lan.lease : "";
    for (const Interface& interface : readInterfaces(interfacesOf(lan))) {
        const std::string address = addressOf(interface, lease);
        if (!address.empty()) {
            addresses += interface.name + " " + address + "\n";
        }
        if (interface.name == wired) {
            route = routes(address, interface.method == "dhcp" ? leaseGateway : interface.gateway);
        }
    }
    WorldFolder_writeFile(lan.world + "/" + WorldFile::addresses, addresses);
    WorldFolder_write(lan.world, routeFile, route);
}

bool Lan_set(Lan& lan, std::string_view key, std::string_view value, std::string& error) {
    const auto* const found = std::ranges::find(keys, key, &Key::name);
    if (found == keys.end()) {
        error = "the network has link, mac and lease";
        return false;
    }
    error = "the interface's files cannot be written";
    return found->set(lan, value, error);
}

std::string Lan_describe(const Lan& lan) {
    const std::string mac = WorldFolder_read(lan.world, macFile);
    return BenchText_format("lan: link=%s mac=%s\n", hasLink(lan) ? "up" : "down",
                            mac.substr(0, mac.find('\n')).c_str());
}
