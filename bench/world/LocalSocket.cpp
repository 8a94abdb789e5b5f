#include "LocalSocket.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

struct Address {
    sockaddr_un name{};
    int folder = -1; ///< keeps the short name valid
    bool isValid = false;
};

Address addressOf(const std::string& path) {
    Address address;
    address.name.sun_family = AF_UNIX;
    std::string shortName = path;
    if (path.size() >= sizeof address.name.sun_path) {
        const size_t slash = path.rfind('/');
        address.folder = open(path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (address.folder < 0) {
            return address;
        }
        shortName = "/proc/self/fd/" + std::to_string(address.folder) + path.substr(slash);
    }
    address.isValid = shortName.size() < sizeof address.name.sun_path;
    snprintf(address.name.sun_path, sizeof address.name.sun_path, "%s", shortName.c_str());
    return address;
}

template <typename Call> int withAddress(const std::string& path, int type, Call call) {
    const Address address = addressOf(path);
    int fd = address.isValid ? socket(AF_UNIX, type | SOCK_CLOEXEC, 0) : -1;
    if (fd >= 0 && !call(fd, address.name)) {
        close(fd);
        fd = -1;
    }
    if (address.folder >= 0) {
        close(address.folder);
    }
    return fd;
}

bool sendAll(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

bool receiveAll(int fd, int limit_ms, std::string& answer) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(limit_ms);
    std::array<char, 4096> buffer{};
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        pollfd waiting{fd, POLLIN, 0};
        const int ready = poll(&waiting, 1, std::max(0, static_cast<int>(left.count())));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            return false;
        }
        const ssize_t count = recv(fd, buffer.data(), buffer.size(), 0);
        if (count == 0) {
            return true;
        }
        if (count > 0) {
            answer.append(buffer.data(), static_cast<size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
}

} // namespace

int LocalSocket_listen(const std::string& path, int type) {
    unlink(path.c_str());
    return withAddress(path, type | SOCK_NONBLOCK, [](int fd, const sockaddr_un& name) {
        return bind(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0 &&
               listen(fd, 8) == 0;
    });
}

int LocalSocket_connect(const std::string& path, int type) {
    return withAddress(path, type, [](int fd, const sockaddr_un& name) {
        return connect(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
    });
}

bool LocalSocket_ask(const std::string& path, const std::string& line, int limit_ms,
                     std::string& answer) {
    const int fd = LocalSocket_connect(path, SOCK_STREAM);
    if (fd < 0) {
        return false;
    }
    answer.clear();
    const bool isWhole = sendAll(fd, line + "\n") && receiveAll(fd, limit_ms, answer);
    close(fd);
    return isWhole;
}
