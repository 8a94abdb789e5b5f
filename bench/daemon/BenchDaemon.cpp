#include "BenchDaemon.h"

#include "BenchCommands.h"
#include "LocalSocket.h"
#include "WorldFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr size_t longestLine = 4000;
constexpr size_t mostClients = 32;

void acceptClients(BenchDaemon& daemon) {
    while (daemon.clients.size() < mostClients) {
        const int fd = accept4(daemon.listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            return;
        }
        daemon.clients.push_back({fd, {}});
    }
}

// Answers are short against a socket's buffer, or their reader is there and waits for them.
void sendAnswer(int fd, const std::string& answer) {
    size_t done = 0;
    while (done < answer.size()) {
        const ssize_t count = send(fd, answer.data() + done, answer.size() - done, MSG_NOSIGNAL);
        if (count > 0) {
            done += static_cast<size_t>(count);
            continue;
        }
        pollfd waiting{fd, POLLOUT, 0};
        if (errno != EINTR && (errno != EAGAIN || poll(&waiting, 1, 1000) <= 0)) {
            return;
        }
    }
}

// True when the client has been answered or has gone.
bool serveClient(BenchDaemon& daemon, CommandClient& client) {
    std::array<char, 1024> buffer{};
    const ssize_t count = recv(client.fd, buffer.data(), buffer.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (count <= 0) {
        return true;
    }
    client.line.append(buffer.data(), static_cast<size_t>(count));
    const size_t end = client.line.find('\n');
    if (end == std::string::npos) {
        return client.line.size() > longestLine;
    }
    sendAnswer(client.fd, BenchCommands_run(daemon, client.line.substr(0, end)));
    return true;
}

void serveClients(BenchDaemon& daemon) {
    acceptClients(daemon);
    std::erase_if(daemon.clients, [&daemon](CommandClient& client) {
        const bool isDone = serveClient(daemon, client);
        if (isDone) {
            close(client.fd);
        }
        return isDone;
    });
}

void carry(const Terminal& from, const Terminal& to) {
    const std::string bytes = Terminal_read(from);
    if (!bytes.empty()) {
        Terminal_write(to, bytes);
    }
}

bool refuse(std::string& error, const std::string& what) {
    error = what + ": " + strerror(errno);
    return false;
}

} // namespace

int64_t BenchDaemon_now_ns(const BenchDaemon& daemon) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec +
           BenchClock_read(*daemon.clock).ahead_ns;
}

bool BenchDaemon_open(BenchDaemon& daemon, const std::string& world, std::string& error) {
    daemon.world = world;
    daemon.clock = BenchClock_map(world.c_str());
    if (daemon.clock == nullptr) {
        return refuse(error, world + "/clock");
    }
    const int64_t now = BenchDaemon_now_ns(daemon);
    for (uint32_t port = 0; port < daemon.serial.size(); ++port) {
        if (!SerialPortPlayer_open(daemon.serial.at(port), port, world, now)) {
            return refuse(error, "pseudo-terminal of serial port " + std::to_string(port + 1));
        }
    }
    for (uint32_t port = 0; port < daemon.usb.size(); ++port) {
        UsbPortPlayer_open(daemon.usb.at(port), port, world);
    }
    if (!Terminal_open(daemon.commandPort, WorldFolder_path(world, "/dev/ttyS4")) ||
        !Terminal_open(daemon.commandPeer, world + "/command-port")) {
        return refuse(error, "pseudo-terminal of the command port");
    }
    if (!Supply_open(daemon.supply, world)) {
        return refuse(error, "the power switch");
    }
    daemon.listener = LocalSocket_listen(world + "/daemon.sock", SOCK_STREAM);
    return daemon.listener >= 0 || refuse(error, world + "/daemon.sock");
}

void BenchDaemon_close(BenchDaemon& daemon) {
    for (const CommandClient& client : daemon.clients) {
        close(client.fd);
    }
    daemon.clients.clear();
    for (SerialPortPlayer& player : daemon.serial) {
        SerialPortPlayer_close(player);
    }
    for (UsbPortPlayer& player : daemon.usb) {
        UsbPortPlayer_close(player);
    }
    Supply_close(daemon.supply);
    Terminal_close(daemon.commandPort);
    Terminal_close(daemon.commandPeer);
    if (daemon.listener >= 0) {
        close(daemon.listener);
        daemon.listener = -1;
        unlink((daemon.world + "/daemon.sock").c_str());
    }
}

void BenchDaemon_collect(const BenchDaemon& daemon, std::vector<pollfd>& waiting) {
    waiting.push_back({daemon.listener, POLLIN, 0});
    for (const CommandClient& client : daemon.clients) {
        waiting.push_back({client.fd, POLLIN, 0});
    }
    for (const SerialPortPlayer& player : daemon.serial) {
        waiting.push_back({player.terminal.master, POLLIN, 0});
    }
    for (const UsbPortPlayer& player : daemon.usb) {
        UsbPortPlayer_collect(player, waiting);
    }
    waiting.push_back({daemon.commandPort.master, POLLIN, 0});
    waiting.push_back({daemon.commandPeer.master, POLLIN, 0});
}

int64_t BenchDaemon_wait_ns(const BenchDaemon& daemon) {
    constexpr int64_t never = std::numeric_limits<int64_t>::max();
    int64_t next = Supply_nextDue_ns(daemon.supply);
    for (const SerialPortPlayer& player : daemon.serial) {
        next = std::min(next, SerialPortPlayer_nextDue_ns(player));
    }
    for (const UsbPortPlayer& player : daemon.usb) {
        next = std::min(next, UsbPortPlayer_nextDue_ns(player));
    }
    if (next == never) {
        return -1;
    }
    const int64_t left = next - BenchDaemon_now_ns(daemon);
    return std::max(int64_t{0}, static_cast<int64_t>(static_cast<double>(left) /
                                                     BenchClock_read(*daemon.clock).speed));
}

void BenchDaemon_service(BenchDaemon& daemon) {
    serveClients(daemon);
    const int64_t now = BenchDaemon_now_ns(daemon);
    for (SerialPortPlayer& player : daemon.serial) {
        SerialPortPlayer_service(player, now);
    }
    for (UsbPortPlayer& player : daemon.usb) {
        UsbPortPlayer_service(player, now);
    }
    Supply_service(daemon.supply, now);
    carry(daemon.commandPort, daemon.commandPeer);
    carry(daemon.commandPeer, daemon.commandPort);
}
