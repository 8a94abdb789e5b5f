#include "ServiceManager.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// As in packaging/meter/quorvel-power-meter.service.
constexpr int64_t watchdog_ns = 10'000'000'000;
constexpr int64_t stopping_ns = 3'000'000'000;

constexpr int64_t nanosecondsPerMicrosecond = 1000;
constexpr size_t longestMessage = 4096;

std::string socketPath(const std::string& world) {
    return world + "/notify.sock";
}

void hear(ServiceManager& manager, std::string_view message, int64_t now_ns) {
    if (message.find("READY=1") != std::string_view::npos) {
        manager.isArmed = true;
    }
    if (message.find("WATCHDOG=trigger") != std::string_view::npos) {
        manager.limit_ns = now_ns;
    } else {
        manager.limit_ns = now_ns + watchdog_ns;
    }
}

void hearAll(ServiceManager& manager, int64_t now_ns) {
    std::array<char, longestMessage> message{};
    for (;;) {
        const ssize_t size = recv(manager.socket, message.data(), message.size(), 0);
        if (size < 0) {
            return;
        }
        if (!manager.isAborting) {
            hear(manager, {message.data(), static_cast<size_t>(size)}, now_ns);
        }
    }
}

} // namespace

bool ServiceManager_open(ServiceManager& manager, const std::string& world) {
    const std::string path = socketPath(world);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    path.copy(address.sun_path, path.size());
    unlink(path.c_str());
    manager.socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ServiceManager_begin(manager);
    return manager.socket >= 0 &&
           bind(manager.socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void ServiceManager_close(ServiceManager& manager) {
    if (manager.socket >= 0) {
        close(manager.socket);
        manager.socket = -1;
    }
}

std::vector<ChildEnvironment> ServiceManager_environment(const ServiceManager& manager,
                                                         const std::string& world) {
    if (manager.socket < 0) {
        return {{"NOTIFY_SOCKET", ""}, {"WATCHDOG_USEC", ""}, {"WATCHDOG_PID", ""}};
    }
    return {{"NOTIFY_SOCKET", socketPath(world)},
            {"WATCHDOG_USEC", std::to_string(watchdog_ns / nanosecondsPerMicrosecond)},
            {"WATCHDOG_PID", ""}};
}

void ServiceManager_begin(ServiceManager& manager) {
    manager.isArmed = false;
    manager.isAborting = false;
    manager.limit_ns = 0;
}

void ServiceManager_collect(const ServiceManager& manager, std::vector<pollfd>& waiting) {
    if (manager.socket >= 0) {
        waiting.push_back({manager.socket, POLLIN, 0});
    }
}

int ServiceManager_service(ServiceManager& manager, int64_t now_ns) {
    if (manager.socket < 0) {
        return 0;
    }
    hearAll(manager, now_ns);
    if (!manager.isArmed || now_ns < manager.limit_ns) {
        return 0;
    }
    const int signal = manager.isAborting ? SIGKILL : SIGABRT;
    manager.isAborting = true;
    manager.limit_ns = now_ns + stopping_ns;
    return signal;
}
