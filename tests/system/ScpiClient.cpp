#include "ScpiClient.h"

#include "WorldFolder.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int answerLimit_ms = 5000;
constexpr uint32_t terminalLimit_ms = 30000;

int connectTo(long port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        return fd;
    }
    close(fd);
    return -1;
}

} // namespace

ScpiClient::ScpiClient(const Bench& bench, Wire wire) {
    if (wire == Wire::commandPort) {
        openCommandPort(bench);
        return;
    }
    const std::string text = WorldFolder_readFile(bench.world + "/port");
    const long port = strtol(text.c_str(), nullptr, 10);
    Bench_waitUntil(
        [&] {
            fd = connectTo(port);
            return fd >= 0;
        },
        10000);
}

void ScpiClient::openCommandPort(const Bench& bench) {
    fd = open((bench.world + "/command-port").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    // What comes before the port is served is thrown away; what is answered late is read here.
    Bench_waitUntil([&] { return ask("*OPC?") == "1"; }, terminalLimit_ms);
    Bench_waitUntil([&] { return ask("SYST:VERS?") == "1999.0"; }, terminalLimit_ms);
}

ScpiClient::~ScpiClient() {
    if (fd >= 0) {
        close(fd);
    }
}

bool ScpiClient::vanish() {
    // A connection in repair is put away as it is, to be taken up on another machine.
    const int on = 1;
    const bool isAllowed = setsockopt(fd, IPPROTO_TCP, TCP_REPAIR, &on, sizeof on) == 0;
    close(fd);
    fd = -1;
    return isAllowed;
}

bool ScpiClient::send(const std::string& line) {
    const std::string bytes = line + "\n";
    ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == ENOTSOCK) {
        sent = write(fd, bytes.data(), bytes.size());
    }
    return sent == static_cast<ssize_t>(bytes.size());
}

std::string ScpiClient::ask(const std::string& query) {
    std::string answer;
    if (!send(query)) {
        return answer;
    }
    pollfd waiting{fd, POLLIN, 0};
    char byte = 0;
    while (poll(&waiting, 1, answerLimit_ms) > 0 && read(fd, &byte, 1) == 1 && byte != '\n') {
        answer += byte;
    }
    while (answer.ends_with('\r')) {
        answer.pop_back();
    }
    return answer;
}

std::string ScpiClient::receive(size_t size) const {
    std::string bytes(size, '\0');
    size_t got = 0;
    pollfd waiting{fd, POLLIN, 0};
    while (got < size && poll(&waiting, 1, answerLimit_ms) > 0) {
        const ssize_t count = read(fd, bytes.data() + got, size - got);
        if (count <= 0) {
            break;
        }
        got += static_cast<size_t>(count);
    }
    return bytes.substr(0, got);
}

std::optional<std::string> ScpiClient::askBlock(const std::string& query) {
    if (!send(query)) {
        return {};
    }
    const std::string start = receive(2);
    if (start.size() != 2 || start[0] != '#' || start[1] < '1' || start[1] > '9') {
        return {};
    }
    const size_t size = strtoul(receive(static_cast<size_t>(start[1] - '0')).c_str(), nullptr, 10);
    const std::string block = receive(size);
    return block.size() == size && receive(2) == "\r\n" ? std::optional(block) : std::nullopt;
}
