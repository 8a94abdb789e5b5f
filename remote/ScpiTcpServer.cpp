#include "ScpiTcpServer.h"

#include "Files.h"
#include "Numbers.h"
#include "Process.h"
#include "RetryInterrupted.h"
#include "ScpiLink.h"
#include "Threads.h"
#include "message.h"

#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr int backlog = 1;
constexpr int clientTimeout_ms = 5000;
constexpr size_t receiveSize = 256;
constexpr uint32_t acceptPause_ms = 1000; ///< after a failure that lasts, such as too many files

ScpiLink tcpLink;
std::atomic<int32_t> clientFd{-1};

[[noreturn]] void failToServe(const char* words) {
    DIAGNOSTIC("%s", words);
    Process_leave(processStatusFatal);
}

int bindTo(int server, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    return bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

/// Waits without cost for the next client.
int acceptClient(int server) {
    for (;;) {
        pollfd waited{server, POLLIN, 0};
        retryInterrupted([&] { return poll(&waited, 1, -1); });
        const int client =
            retryInterrupted([&] { return accept4(server, nullptr, nullptr, SOCK_CLOEXEC); });
        if (client >= 0) {
            return client;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK && errno != ECONNABORTED) {
            Thread_sleep_ms(acceptPause_ms);
        }
    }
}

/// Waits for bytes. The wait has its limit, and what that costs, only while a command without its
/// end is pending; without one a silence completes nothing. 0 at the limit, negative on failure.
int waitForBytes(int client) {
    if (!ScpiLink_isPending(&tcpLink)) {
        return 1; // recv waits
    }
    pollfd waited{client, POLLIN, 0};
    return retryInterrupted([&] { return poll(&waited, 1, clientTimeout_ms); });
}

/// Waits for bytes and runs them; a silence of clientTimeout_ms completes a command that came
/// without its end. False when the client has gone or does not take its replies.
bool serveOnce(int client) {
    const int ready = waitForBytes(client);
    if (ready == 0) {
        return ScpiLink_runPending(&tcpLink);
    }
    char buffer[receiveSize];
    const ssize_t count =
        ready < 0 ? -1 : retryInterrupted([&] { return recv(client, buffer, sizeof buffer, 0); });
    if (count > 0) {
        return ScpiLink_receive(&tcpLink, {buffer, static_cast<size_t>(count)});
    }
    if (count < 0) {
        DIAGNOSTIC("recv() failed");
    }
    return false;
}

/// A reply leaves at once instead of waiting for the client's acknowledgement of the last one.
void sendAtOnce(int client) {
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void serveClient(int client) {
    const ScopedFd owner(client);
    sendAtOnce(client);
    clientFd = client;
    tcpLink.descriptor = &clientFd;
    while (serveOnce(client)) {
    }
    // What the client left behind must not meet the next one.
    clientFd = -1;
    ScpiLink_discard(&tcpLink);
}

void forgetWorkingCopies(SCPI_S* record) {
    const ScopedLock lock(record->lock);
    for (scpi_sensor_config& copy : record->configs) {
        copy.state = NotInitialized;
    }
}

} // namespace

int createTcpServer(uint16_t port) {
    ScopedFd server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!server.isOpen()) {
        failToServe("socket() failed");
    }
    const int on = 1;
    if (setsockopt(server.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) < 0) {
        failToServe("setsockopt() failed");
    }
    const int flags = fcntl(server.get(), F_GETFL);
    if (fcntl(server.get(), F_SETFL, flags | O_NONBLOCK) < 0) {
        failToServe("fcntl() failed");
    }
    const int bound = bindTo(server.get(), port);
    if (bound < 0) {
        failToServe("bind() failed");
    }
    listen(server.get(), backlog);
    // The result of bind is tested once more, not that of listen: the service manual knows a
    // meter that goes on after a failed listen (docs/compatibility.md: listen-unnoticed).
    if (bound < 0) {
        failToServe("listen() failed");
    }
    return server.release();
}

void scpiTcpServerThread() {
    const ScopedNumberLocale numbers;
    SCPI_S* record = scpi;

    DIAGNOSTIC("Starting...");
    forgetWorkingCopies(record);
    ScpiLink_initialize(&tcpLink, &record->tcpContext, record->tcpInputBuffer,
                        record->tcpErrorQueueData);
    const int server = createTcpServer(scpiTcpPort);
    if (server < 0) {
        failToServe("createTcpServer() failed");
    }
    for (;;) {
        serveClient(acceptClient(server));
    }
}
