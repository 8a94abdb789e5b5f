#include "SerialTerminal.h"

#include "SerialPort.h"
#include "World.h"

#include <array>
#include <poll.h>
#include <unistd.h>
#include <utility>

SerialTerminal::SerialTerminal() : host(World_plugTerminal(serialCommandPortName)) {
    SerialPort_Open(serialCommandPortName);
}

SerialTerminal::~SerialTerminal() {
    SerialPort_Close();
    World_unplugTerminal(serialCommandPortName);
}

void SerialTerminal::unplug() {
    World_unplugTerminal(serialCommandPortName);
    received.clear();
}

void SerialTerminal::plugAgain() {
    World_resetSerialSettings();
    host = World_plugTerminal(serialCommandPortName);
}

void SerialTerminal::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = write(host, bytes.data(), bytes.size());
        if (count <= 0) {
            pollfd room{host, POLLOUT, 0};
            poll(&room, 1, 100);
            continue;
        }
        bytes.remove_prefix(static_cast<size_t>(count));
    }
}

bool SerialTerminal::receive(uint32_t limit_ms) {
    pollfd input{host, POLLIN, 0};
    if (poll(&input, 1, static_cast<int>(limit_ms)) <= 0) {
        return false;
    }
    std::array<char, 1024> piece;
    const ssize_t count = read(host, piece.data(), piece.size());
    received.append(piece.data(), count > 0 ? static_cast<size_t>(count) : 0);
    return count > 0;
}

std::string SerialTerminal::readLine(uint32_t limit_ms) {
    while (received.find('\n') == std::string::npos) {
        if (!receive(limit_ms)) {
            return std::exchange(received, {});
        }
    }
    const size_t length = received.find('\n') + 1;
    const std::string line = received.substr(0, length);
    received.erase(0, length);
    return line;
}

std::string SerialTerminal::readUntilQuiet(uint32_t quiet_ms) {
    while (receive(quiet_ms)) {
    }
    return std::exchange(received, {});
}
