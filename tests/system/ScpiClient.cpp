#include "ScpiClient.h"

#include "WorldFolder.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int answerLimit_ms = 5000;

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

ScpiClient::ScpiClient(const Bench& bench) {
    const std::string text = WorldFolder_readFile(bench.world + "/port");
    const long port = strtol(text.c_str(), nullptr, 10);
    Bench_waitUntil(
        [&] {
            fd = connectTo(port);
            return fd >= 0;
        },
        10000);
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
    return ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

std::string ScpiClient::ask(const std::string& query) {
    std::string answer;
    if (!send(query)) {
        return answer;
    }
    pollfd waiting{fd, POLLIN, 0};
    char byte = 0;
    while (poll(&waiting, 1, answerLimit_ms) > 0 && recv(fd, &byte, 1, 0) == 1 && byte != '\n') {
        answer += byte;
    }
    while (answer.ends_with('\r')) {
        answer.pop_back();
    }
    return answer;
}
