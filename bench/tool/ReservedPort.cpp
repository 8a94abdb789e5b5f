#include "ReservedPort.h"

#include <arpa/inet.h>
#include <cstdio>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int portsTried = 100;

/// The port that was bound for a moment, 0 when it was taken.
int freePort(int wanted) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // A port whose last connection has just ended is free.
    const int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = ReservedPort_address(wanted);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    const bool isFree =
        fd >= 0 && bind(fd, generic, length) == 0 && getsockname(fd, generic, &length) == 0;
    if (fd >= 0) {
        close(fd);
    }
    return isFree ? ntohs(address.sin_port) : 0;
}

/// A name in the network namespace that the port belongs to; it goes with the process. -1 when
/// another bench holds it.
int holdName(int port) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    // Without a file: the name begins with a zero.
    snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "quorvel-bench-port-%d", port);
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && bind(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

} // namespace

bool ReservedPort_take(ReservedPort& port, int first) {
    for (int tried = 0; tried < portsTried; ++tried) {
        const int number = freePort(first == 0 ? 0 : first + tried);
        const int keeper = number > 0 ? holdName(number) : -1;
        // Another bench may have begun to listen between the two.
        if (keeper >= 0 && freePort(number) > 0) {
            port = {number, keeper};
            return true;
        }
        if (keeper >= 0) {
            close(keeper);
        }
    }
    return false;
}

sockaddr_in ReservedPort_address(int number) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(number));
    return address;
}

void ReservedPort_release(ReservedPort& port) {
    if (port.keeper >= 0) {
        close(port.keeper);
    }
    port = {};
}
