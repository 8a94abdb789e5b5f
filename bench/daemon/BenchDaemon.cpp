#include "BenchDaemon.h"

#include "BenchCommands.h"
#include "LocalSocket.h"

#include <array>
#include <cerrno>
#include <cstring>
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
    sendAnswer(client.fd, BenchCommands_run(daemon.hardware, client.line.substr(0, end)));
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

} // namespace

bool BenchDaemon_open(BenchDaemon& daemon, const std::string& world, std::string& error) {
    if (!BenchHardware_open(daemon.hardware, world, error)) {
        return false;
    }
    const std::string path = world + "/daemon.sock";
    daemon.listener = LocalSocket_listen(path, SOCK_STREAM);
    if (daemon.listener < 0) {
        error = path + ": " + strerror(errno);
    }
    return daemon.listener >= 0;
}

void BenchDaemon_close(BenchDaemon& daemon) {
    for (const CommandClient& client : daemon.clients) {
        close(client.fd);
    }
    daemon.clients.clear();
    BenchHardware_close(daemon.hardware);
    if (daemon.listener >= 0) {
        close(daemon.listener);
        daemon.listener = -1;
        unlink((daemon.hardware.world + "/daemon.sock").c_str());
    }
}

void BenchDaemon_collect(const BenchDaemon& daemon, std::vector<pollfd>& waiting) {
    waiting.push_back({daemon.listener, POLLIN, 0});
    for (const CommandClient& client : daemon.clients) {
        waiting.push_back({client.fd, POLLIN, 0});
    }
    BenchHardware_collect(daemon.hardware, waiting);
}

int64_t BenchDaemon_wait_ns(const BenchDaemon& daemon) {
    return BenchHardware_wait_ns(daemon.hardware);
}

void BenchDaemon_service(BenchDaemon& daemon) {
    serveClients(daemon);
    BenchHardware_service(daemon.hardware);
}
