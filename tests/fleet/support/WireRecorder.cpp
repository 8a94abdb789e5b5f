#include "WireRecorder.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

sockaddr_in addressOf(const std::string& host, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return address;
}

/// Passes on what one end says; the bytes, none at its end.
std::string pass(int from, int to) {
    std::array<char, 4096> buffer;
    const ssize_t count = recv(from, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        return {};
    }
    const std::string bytes(buffer.data(), static_cast<size_t>(count));
    send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return bytes;
}

} // namespace

WireRecorder::WireRecorder(std::string host, uint16_t port)
    : meterHost(std::move(host)), meterPort(port),
      listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = addressOf("127.0.0.1", 0);
    socklen_t length = sizeof address;
    bind(listener, reinterpret_cast<const sockaddr*>(&address), length);
    listen(listener, 4);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    ownPort = ntohs(address.sin_port);
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, wakeUp) == 0) {
        thread = std::thread([this] { serve(); });
    }
}

WireRecorder::~WireRecorder() {
    shutdown(wakeUp[0], SHUT_RDWR);
    thread.join();
    close(wakeUp[0]);
    close(wakeUp[1]);
    close(listener);
}

std::string WireRecorder::address() const {
    return "127.0.0.1:" + std::to_string(ownPort);
}

std::string WireRecorder::said() {
    const std::lock_guard lock(mutex);
    return recorded;
}

size_t WireRecorder::clients() {
    const std::lock_guard lock(mutex);
    return clientCount;
}

void WireRecorder::serve() {
    for (;;) {
        std::array<pollfd, 2> waited{{{listener, POLLIN, 0}, {wakeUp[1], POLLIN, 0}}};
        poll(waited.data(), waited.size(), -1);
        if (waited[1].revents != 0) {
            return;
        }
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        {
            const std::lock_guard lock(mutex);
            ++clientCount;
        }
        relay(client);
        close(client);
    }
}

void WireRecorder::relay(int client) {
    const int meter = WireRecorder_connect(meterHost, meterPort);
    for (;;) {
        std::array<pollfd, 3> waited{
            {{client, POLLIN, 0}, {meter, POLLIN, 0}, {wakeUp[1], POLLIN, 0}}};
        poll(waited.data(), waited.size(), -1);
        std::string bytes = waited[0].revents != 0 ? pass(client, meter) : pass(meter, client);
        if (bytes.empty() || waited[2].revents != 0) {
            break;
        }
        if (waited[0].revents != 0) {
            const std::lock_guard lock(mutex);
            recorded += bytes;
        }
    }
    close(meter);
}

int WireRecorder_connect(const std::string& host, uint16_t port) {
    const sockaddr_in address = addressOf(host, port);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}
