// The C library's calls to the network, interposed: the bench's interfaces, and servers on loopback
// only.

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldPath.h"
#include "WorldTree.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// The instrument's command port, which a bench may have elsewhere.
constexpr in_port_t instrumentPort = 5025;

ssize_t readWorldFile(const char* name, char* text, size_t size) {
    char path[PATH_MAX];
    if (!PreloadWorld_file(path, sizeof path, name)) {
        return -1;
    }
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    const ssize_t count = read(fd, text, size - 1);
    close(fd);
    text[count > 0 ? count : 0] = '\0';
    return count;
}

/// A port number in a file of the world, or -1.
int readPort(const char* name) {
    char text[16];
    if (readWorldFile(name, text, sizeof text) <= 0) {
        return -1;
    }
    const long port = strtol(text, nullptr, 10);
    return port >= 0 && port <= 65535 ? static_cast<int>(port) : -1;
}

/// The bench's port: from the environment, from the world, or the instrument's own. "0" there is
/// any free port, kept once it is known.
in_port_t benchPort() {
    const char* const asked = getenv("QUORVEL_BENCH_PORT");
    int port = asked != nullptr ? atoi(asked) : readPort(WorldFile::port);
    if (port == 0) {
        const int bound = readPort(WorldFile::boundPort);
        port = bound > 0 ? bound : 0;
    }
    return port < 0 ? instrumentPort : static_cast<in_port_t>(port);
}

void publishBoundPort(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    char path[PATH_MAX];
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        !PreloadWorld_file(path, sizeof path, WorldFile::boundPort)) {
        return;
    }
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd >= 0) {
        dprintf(fd, "%d\n", ntohs(address.sin_port));
        close(fd);
    }
}

/// A copy of a socket's address that the world may alter.
union Address {
    sockaddr any;
    sockaddr_in internet;
    sockaddr_in6 internet6;
    sockaddr_un local;
    sockaddr_storage storage;
};

bool copyAddress(Address& copy, const sockaddr* address, socklen_t size) {
    copy = {};
    if (address == nullptr || size < sizeof(sa_family_t) || size > sizeof copy) {
        return false;
    }
    memcpy(&copy, address, size);
    return true;
}

bool isLoopback(const sockaddr_in& address) {
    return (ntohl(address.sin_addr.s_addr) >> IN_CLASSA_NSHIFT) == IN_LOOPBACKNET ||
           address.sin_addr.s_addr == htonl(INADDR_ANY);
}

/// Sends a local socket's instrument path into the world. False when it does not fit there.
bool moveLocalPath(sockaddr_un& address, socklen_t& size) {
    char name[sizeof address.sun_path + 1] = "";
    memcpy(name, address.sun_path, sizeof address.sun_path);
    const WorldPath path(name);
    if (!path.isInWorld()) {
        return true;
    }
    const size_t length = strlen(path.get());
    if (length >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(address.sun_path, path.get(), length + 1);
    size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length + 1);
    return true;
}

void moveServerToLoopback(Address& address) {
    if (address.any.sa_family == AF_INET) {
        if (address.internet.sin_addr.s_addr == htonl(INADDR_ANY)) {
            address.internet.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        }
        if (ntohs(address.internet.sin_port) == instrumentPort) {
            address.internet.sin_port = htons(benchPort());
        }
    } else if (address.any.sa_family == AF_INET6 &&
               IN6_IS_ADDR_UNSPECIFIED(&address.internet6.sin6_addr)) {
        address.internet6.sin6_addr = IN6ADDR_LOOPBACK_INIT;
    }
}

/// One entry of the interface list with all that it points to.
struct Interface {
    ifaddrs entry;
    sockaddr_in address;
    sockaddr_in netmask;
    sockaddr_ll link;
    char name[IFNAMSIZ];
};

constexpr size_t interfaceLimit = 32;

void chain(Interface* list, size_t index) {
    if (index > 0) {
        list[index - 1].entry.ifa_next = &list[index].entry;
    }
    list[index].entry.ifa_name = list[index].name;
    list[index].entry.ifa_flags = IFF_UP | IFF_RUNNING;
}

/// An entry without an IPv4 address, such as the system shows for each interface.
void fillLink(Interface& interface) {
    interface.link.sll_family = AF_PACKET;
    interface.entry.ifa_addr = reinterpret_cast<sockaddr*>(&interface.link);
}

bool fillAddress(Interface& interface, const char* address, const char* netmask) {
    interface.address.sin_family = AF_INET;
    interface.netmask.sin_family = AF_INET;
    interface.entry.ifa_addr = reinterpret_cast<sockaddr*>(&interface.address);
    interface.entry.ifa_netmask = reinterpret_cast<sockaddr*>(&interface.netmask);
    return inet_pton(AF_INET, address, &interface.address.sin_addr) == 1 &&
           inet_pton(AF_INET, netmask, &interface.netmask.sin_addr) == 1;
}

/// Lines "<name> <address> <netmask>", or "<name>" alone for an interface without an address.
size_t parseInterfaces(char* text, Interface* list) {
    size_t count = 0;
    char* rest = nullptr;
    for (char* line = strtok_r(text, "\n", &rest); line != nullptr && count < interfaceLimit;
         line = strtok_r(nullptr, "\n", &rest)) {
        char name[IFNAMSIZ];
        char address[INET_ADDRSTRLEN];
        char netmask[INET_ADDRSTRLEN];
        const int words = sscanf(line, "%15s %15s %15s", name, address, netmask);
        Interface& interface = list[count];
        interface = {};
        if (words == 1) {
            fillLink(interface);
        } else if (words != 3 || !fillAddress(interface, address, netmask)) {
            continue;
        }
        memcpy(interface.name, name, sizeof name);
        chain(list, count);
        ++count;
    }
    return count;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int getifaddrs(ifaddrs** result) noexcept {
    static NextFunction<int(ifaddrs**)> next("getifaddrs");
    if (PreloadWorld_folder() == nullptr) {
        return next(result);
    }
    char text[4096];
    if (readWorldFile(WorldFile::addresses, text, sizeof text) < 0) {
        return -1;
    }
    auto* const list = static_cast<Interface*>(calloc(interfaceLimit, sizeof(Interface)));
    if (list == nullptr) {
        return -1;
    }
    if (parseInterfaces(text, list) == 0) {
        free(list);
        *result = nullptr;
        return 0;
    }
    *result = &list[0].entry;
    return 0;
}

void freeifaddrs(ifaddrs* list) noexcept {
    static NextFunction<void(ifaddrs*)> next("freeifaddrs");
    if (PreloadWorld_folder() == nullptr) {
        next(list);
    } else {
        free(list);
    }
}

int bind(int socket, const sockaddr* address, socklen_t size) noexcept {
    static NextFunction<int(int, const sockaddr*, socklen_t)> next("bind");
    Address moved;
    if (PreloadWorld_folder() == nullptr || !copyAddress(moved, address, size)) {
        return next(socket, address, size);
    }
    if (moved.any.sa_family == AF_UNIX && !moveLocalPath(moved.local, size)) {
        return -1;
    }
    const bool isInstrumentPort =
        moved.any.sa_family == AF_INET && ntohs(moved.internet.sin_port) == instrumentPort;
    moveServerToLoopback(moved);
    const int outcome = next(socket, &moved.any, size);
    if (outcome == 0 && isInstrumentPort) {
        publishBoundPort(socket);
    }
    return outcome;
}

int connect(int socket, const sockaddr* address, socklen_t size) {
    static NextFunction<int(int, const sockaddr*, socklen_t)> next("connect");
    Address moved;
    if (PreloadWorld_folder() == nullptr || !copyAddress(moved, address, size)) {
        return next(socket, address, size);
    }
    if (moved.any.sa_family == AF_UNIX && !moveLocalPath(moved.local, size)) {
        return -1;
    }
    if (moved.any.sa_family == AF_INET && isLoopback(moved.internet) &&
        ntohs(moved.internet.sin_port) == instrumentPort) {
        moved.internet.sin_port = htons(benchPort());
    }
    return next(socket, &moved.any, size);
}

} // extern "C"
#pragma GCC visibility pop
