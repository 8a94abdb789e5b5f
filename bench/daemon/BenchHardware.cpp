#include "BenchHardware.h"

#include "WorldFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>

namespace {

bool refuse(std::string& error, const std::string& what) {
    error = what + ": " + strerror(errno);
    return false;
}

} // namespace

int64_t BenchHardware_now_ns(const BenchHardware& hardware) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec +
           BenchClock_read(*hardware.clock).ahead_ns;
}

bool BenchHardware_open(BenchHardware& hardware, const std::string& world, std::string& error) {
    hardware.world = world;
    hardware.clock = BenchClock_map(world.c_str());
    if (hardware.clock == nullptr) {
        return refuse(error, world + "/clock");
    }
    const int64_t now = BenchHardware_now_ns(hardware);
    for (uint32_t port = 0; port < hardware.serial.size(); ++port) {
        if (!SerialPortPlayer_open(hardware.serial.at(port), port, world, now)) {
            return refuse(error, "pseudo-terminal of serial port " + std::to_string(port + 1));
        }
    }
    for (uint32_t port = 0; port < hardware.usb.size(); ++port) {
        UsbPortPlayer_open(hardware.usb.at(port), port, world);
    }
    if (!Terminal_open(hardware.commandPort, WorldFolder_path(world, "/dev/ttyS4")) ||
        !Terminal_open(hardware.commandPeer, world + "/command-port")) {
        return refuse(error, "pseudo-terminal of the command port");
    }
    if (!Machine_open(hardware.machine, world)) {
        return refuse(error, world + "/commands");
    }
    return Supply_open(hardware.supply, world) || refuse(error, "the power switch");
}

void BenchHardware_close(BenchHardware& hardware) {
    for (SerialPortPlayer& player : hardware.serial) {
        SerialPortPlayer_close(player);
    }
    for (UsbPortPlayer& player : hardware.usb) {
        UsbPortPlayer_close(player);
    }
    Supply_close(hardware.supply);
    Machine_close(hardware.machine);
    Terminal_close(hardware.commandPort);
    Terminal_close(hardware.commandPeer);
}

void BenchHardware_collect(const BenchHardware& hardware, std::vector<pollfd>& waiting) {
    for (const SerialPortPlayer& player : hardware.serial) {
        waiting.push_back({player.terminal.master, POLLIN, 0});
    }
    for (const UsbPortPlayer& player : hardware.usb) {
        UsbPortPlayer_collect(player, waiting);
    }
    waiting.push_back({hardware.machine.watcher, POLLIN, 0});
    Supply_collect(hardware.supply, waiting);
    Cable_collect(hardware.replies, hardware.commandPort, hardware.commandPeer, waiting);
    Cable_collect(hardware.commands, hardware.commandPeer, hardware.commandPort, waiting);
}

int64_t BenchHardware_wait_ns(const BenchHardware& hardware) {
    constexpr int64_t never = std::numeric_limits<int64_t>::max();
    int64_t next =
        std::min({Supply_nextDue_ns(hardware.supply), hardware.machine.off_ns,
                  Cable_nextDue_ns(hardware.replies), Cable_nextDue_ns(hardware.commands)});
    for (const SerialPortPlayer& player : hardware.serial) {
        next = std::min(next, SerialPortPlayer_nextDue_ns(player));
    }
    for (const UsbPortPlayer& player : hardware.usb) {
        next = std::min(next, UsbPortPlayer_nextDue_ns(player));
    }
    if (next == never) {
        return -1;
    }
    const int64_t left = next - BenchHardware_now_ns(hardware);
    return std::max(int64_t{0}, static_cast<int64_t>(static_cast<double>(left) /
                                                     BenchClock_read(*hardware.clock).speed));
}

void BenchHardware_service(BenchHardware& hardware) {
    const int64_t now = BenchHardware_now_ns(hardware);
    for (SerialPortPlayer& player : hardware.serial) {
        SerialPortPlayer_service(player, now);
    }
    for (UsbPortPlayer& player : hardware.usb) {
        UsbPortPlayer_service(player, now);
    }
    Supply_service(hardware.supply, now);
    Machine_service(hardware.machine, now);
    Cable_carry(hardware.replies, hardware.commandPort, hardware.commandPeer, now);
    Cable_carry(hardware.commands, hardware.commandPeer, hardware.commandPort, now);
}
