#include "Links.h"

#include "Bench.h"
#include "WorldFolder.h"

#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr uint32_t connectLimit_ms = 10000;

int connectTo(const std::string& world) {
    const std::string text = WorldFolder_readFile(world + "/port.bound");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(strtol(text.c_str(), nullptr, 10)));
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return fd;
    }
    close(fd);
    return -1;
}

} // namespace

Link::~Link() {
    hangUp();
}

bool Link::connectTcp(const std::string& world) {
    hangUp();
    return Bench_waitUntil([&] { return (end = connectTo(world)) >= 0; }, connectLimit_ms);
}

bool Link::openTerminal(const std::string& world) {
    hangUp();
    end = open((world + "/command-port").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    return end >= 0;
}

void Link::hangUp() {
    if (end >= 0) {
        close(end);
    }
    end = -1;
    received.clear();
}

bool Link::vanish() {
    // A connection in repair is put away as it is, to be taken up on another machine.
    const int on = 1;
    const bool isAllowed = setsockopt(end, IPPROTO_TCP, TCP_REPAIR, &on, sizeof on) == 0;
    hangUp();
    return isAllowed;
}

bool Link::send(std::string_view bytes) const {
    return write(end, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

std::optional<std::string> Link::readLine(int limit_ms) {
    pollfd input{end, POLLIN, 0};
    std::array<char, 4096> piece;
    size_t lineEnd = received.find('\n');
    while (lineEnd == std::string::npos) {
        if (poll(&input, 1, limit_ms) <= 0) {
            return std::nullopt;
        }
        const ssize_t count = read(end, piece.data(), piece.size());
        if (count <= 0) {
            return std::nullopt;
        }
        received.append(piece.data(), static_cast<size_t>(count));
        lineEnd = received.find('\n');
    }
    std::string line = received.substr(0, lineEnd + 1);
    received.erase(0, lineEnd + 1);
    return line;
}
