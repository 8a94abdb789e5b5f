// quorvel-bench-usb: carries the USB sensors of a bench's world into an emulated machine, as
// devices on its bus, and breaks their cables.

#include "BenchText.h"
#include "LocalSocket.h"
#include "UsbRedirection.h"
#include "UsbTmcDevice.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int plugging_ms = 50; ///< how soon a sensor that is plugged in is seen
constexpr size_t longestPacket = 8192;

struct Connector {
    std::string name{};
    std::string sensorPath{};  ///< the world's socket, while a sensor is plugged in
    std::string machinePath{}; ///< the emulator's
    int sensor = -1;
    UsbTmcDevice device{};
    UsbRedirection cable{};
};

struct UsbBench {
    std::string world{};
    int listener = -1;
    std::array<Connector, 2> connectors{};
};

void note(const Connector& connector, std::string_view text) {
    using namespace std::chrono;
    const double now_s = duration<double>(steady_clock::now().time_since_epoch()).count();
    printf("%.6f %s %.*s\n", now_s, connector.name.c_str(), static_cast<int>(text.size()),
           text.data());
    fflush(stdout);
}

// The machine sees that the sensor is gone.
void pullOut(Connector& connector) {
    note(connector, "unplugged");
    close(connector.sensor);
    connector.sensor = -1;
    UsbRedirection_close(connector.cable);
}

void plugIn(Connector& connector) {
    connector.sensor = LocalSocket_connect(connector.sensorPath, SOCK_SEQPACKET);
    if (connector.sensor < 0) {
        return;
    }
    UsbTmcDevice_reset(connector.device);
    if (!UsbRedirection_open(connector.cable, connector.machinePath, connector.device)) {
        UsbRedirection_close(connector.cable);
        close(connector.sensor);
        connector.sensor = -1;
        return;
    }
    note(connector, "plugged");
}

// False when the sensor has been pulled.
bool receiveFromSensor(Connector& connector) {
    std::array<char, longestPacket> buffer{};
    const ssize_t count = recv(connector.sensor, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count <= 0) {
        return count < 0 && (errno == EAGAIN || errno == EINTR);
    }
    const std::string_view packet(buffer.data(), static_cast<size_t>(count));
    note(connector, BenchText_format("<- %.60s", std::string(packet).c_str()));
    UsbTmcDevice_takePacket(connector.device, packet);
    return true;
}

void sendToSensor(Connector& connector) {
    for (const std::string& packet : connector.device.toSensor) {
        note(connector, BenchText_format("-> %.60s", packet.c_str()));
        send(connector.sensor, packet.data(), packet.size(), MSG_NOSIGNAL);
    }
    connector.device.toSensor.clear();
    for (const std::string& text : connector.device.log) {
        note(connector, text);
    }
    connector.device.log.clear();
}

void serve(UsbBench& bench, Connector& connector) {
    if (connector.sensor < 0) {
        plugIn(connector);
        return;
    }
    bool isThere = UsbRedirection_receive(connector.cable) && receiveFromSensor(connector);
    sendToSensor(connector);
    isThere = UsbRedirection_send(connector.cable) && isThere;
    if (connector.device.isPulled) {
        connector.device.isPulled = false;
        std::string answer;
        LocalSocket_ask(bench.world + "/daemon.sock", "unplug " + connector.name, 1000, answer);
        isThere = false;
    }
    if (!isThere) {
        pullOut(connector);
    }
}

Connector* connectorOf(UsbBench& bench, std::string_view name) {
    for (Connector& connector : bench.connectors) {
        if (connector.name == name) {
            return &connector;
        }
    }
    return nullptr;
}

// "fault PORT NAME [COUNT | forever] [on=BEGINNING]", "clear PORT" or "state PORT".
std::string carryOut(UsbBench& bench, std::string_view line) {
    const auto words = BenchText_words(line);
    Connector* connector = words.size() > 1 ? connectorOf(bench, words[1]) : nullptr;
    if (connector == nullptr) {
        return "error there is no such port\n";
    }
    UsbFaults& faults = connector->device.faults;
    if (words[0] == "clear") {
        UsbFaults_clear(faults);
    } else if (words[0] == "fault") {
        const auto rest = static_cast<size_t>(words[1].data() + words[1].size() - line.data());
        if (!UsbFaults_set(faults, line.substr(rest))) {
            return "error the faults are " + UsbFaults_names() + "\n";
        }
    } else if (words[0] != "state") {
        return "error the commands are fault, clear and state\n";
    }
    return BenchText_format("ok readings=%llu waiting=%s\n",
                            static_cast<unsigned long long>(connector->device.readings),
                            UsbFaults_describe(faults).c_str());
}

void serveCommands(UsbBench& bench) {
    const int client = accept4(bench.listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) {
        return;
    }
    std::array<char, 256> line{};
    const ssize_t count = recv(client, line.data(), line.size(), 0);
    if (count > 0) {
        const std::string answer =
            carryOut(bench, std::string_view(line.data(), static_cast<size_t>(count)));
        send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
    close(client);
}

void play(UsbBench& bench) {
    for (;;) {
        std::vector<pollfd> waiting = {{bench.listener, POLLIN, 0}};
        bool isUnplugged = false;
        for (Connector& connector : bench.connectors) {
            isUnplugged = isUnplugged || connector.sensor < 0;
            waiting.push_back({connector.sensor, POLLIN, 0});
            waiting.push_back({connector.cable.fd, POLLIN, 0});
        }
        poll(waiting.data(), waiting.size(), isUnplugged ? plugging_ms : -1);
        serveCommands(bench);
        for (Connector& connector : bench.connectors) {
            serve(bench, connector);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: quorvel-bench-usb WORLD\n");
        return 2;
    }
    UsbBench bench;
    bench.world = argv[1];
    bench.listener = LocalSocket_listen(bench.world + "/usb-faults.sock", SOCK_STREAM);
    for (size_t at = 0; at < bench.connectors.size(); ++at) {
        Connector& connector = bench.connectors.at(at);
        const std::string number = std::to_string(at + 1);
        connector.name = "usb" + number;
        connector.sensorPath = bench.world + "/usbtmc" + std::to_string(at) + ".sock";
        connector.machinePath = bench.world + "/machine-usb" + number + ".sock";
    }
    if (bench.listener < 0) {
        perror(argv[1]);
        return 1;
    }
    play(bench);
}
