#include "ScpiTcpServer.h"

#include "CSimpleTimer.h"
#include "EthernetUtilities.h"
#include "Files.h"
#include "Numbers.h"
#include "Process.h"
#include "RetryInterrupted.h"
#include "ScpiLink.h"
#include "ThreadWatch.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <span>
#include <sys/socket.h>

namespace {

constexpr int backlog = 1;
constexpr int clientTimeout_ms = 5000;
constexpr int silence_ms = 10000; ///< from then on a client may have to prove that it is there
constexpr int probeIdle_s = 10;
constexpr int probeTime_ms = 3000; ///< for one answer
constexpr uint32_t clockSlack_ms = 1000;
constexpr size_t receiveSize = 256;
constexpr uint32_t acceptPause_ms = 1000; ///< after a failure that lasts, such as too many files

ScpiLink tcpLink;
std::atomic<int32_t> clientFd{-1};
/// Held while the client's descriptor is copied, or forgotten before it is closed.
pthread_mutex_t clientMutex = PTHREAD_MUTEX_INITIALIZER;

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

/// Waits without cost, and without limit.
void waitForInput(std::span<pollfd> waited) {
    const ThreadRest rest;
    retryInterrupted([&] { return poll(waited.data(), waited.size(), -1); });
}

/// The next client, whenever it comes.
int acceptClient(int server) {
    for (;;) {
        std::array<pollfd, 1> waited = {{{server, POLLIN, 0}}};
        waitForInput(waited);
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

void setOption(int client, int level, int option, int value) {
    setsockopt(client, level, option, &value, sizeof value);
}

/// A silent client is asked from time to time whether it is still there. One that answers keeps its
/// connection for ever; one from which nothing has come for 20 s, with a question open, is given
/// up.
void setUpProbing(int client) {
    setOption(client, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    setOption(client, IPPROTO_TCP, TCP_USER_TIMEOUT, 20000);
    setOption(client, IPPROTO_TCP, TCP_KEEPIDLE, probeIdle_s);
    setOption(client, SOL_SOCKET, SO_KEEPALIVE, 1);
}

/// Milliseconds since the system has heard of the client, in packets of any kind.
uint32_t lastHeard_ms(int client) {
    tcp_info info{};
    socklen_t size = sizeof info;
    getsockopt(client, IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_last_ack_recv;
}

/// Asks a client that has been silent for long at once, because another one waits for its place.
/// False when it does not answer.
bool isStillThere(int client) {
    const uint32_t start = getTime_ms();
    setOption(client, IPPROTO_TCP, TCP_KEEPIDLE, 1); // it has been idle for longer
    pollfd waited{client, POLLIN, 0};
    const int ready = retryInterrupted([&] { return poll(&waited, 1, probeTime_ms); });
    setOption(client, IPPROTO_TCP, TCP_KEEPIDLE, probeIdle_s);
    // The two clocks are not read together: an answer just before the question counts, too.
    return ready != 0 || lastHeard_ms(client) <= getTime_ms() - start + clockSlack_ms;
}

/// Waits for what comes first after a long silence: something of the client, its end included, or
/// another client. False when the present one does not answer any more.
bool outlastSilence(int client, int server) {
    std::array<pollfd, 2> waited = {{{client, POLLIN, 0}, {server, POLLIN, 0}}};
    waitForInput(waited);
    return waited[0].revents != 0 || isStillThere(client);
}

/// What recv says, and a silence of silence_ms as -1 with EAGAIN. The wait has another limit, and
/// what that costs, only while a command without its end is pending, which a silence of
/// clientTimeout_ms completes: 0 bytes with EAGAIN.
ssize_t receive(int client, std::span<char> buffer) {
    const ThreadRest rest;
    if (ScpiLink_isPending(&tcpLink)) {
        pollfd waited{client, POLLIN, 0};
        const int ready = retryInterrupted([&] { return poll(&waited, 1, clientTimeout_ms); });
        if (ready <= 0) {
            errno = ready == 0 ? EAGAIN : errno;
            return ready;
        }
    }
    errno = 0;
    return retryInterrupted([&] { return recv(client, buffer.data(), buffer.size(), 0); });
}

/// Waits for bytes and runs them. False when the client has gone or does not take its replies.
bool serveOnce(int client, int server) {
    std::array<char, receiveSize> buffer;
    const ssize_t count = receive(client, buffer);
    if (count > 0) {
        return ScpiLink_receive(&tcpLink, {buffer.data(), static_cast<size_t>(count)});
    }
    if (errno == EAGAIN) {
        return count == 0 ? ScpiLink_runPending(&tcpLink) : outlastSilence(client, server);
    }
    if (count < 0) {
        DIAGNOSTIC("recv() failed");
    }
    return false;
}

/// A reply leaves at once instead of waiting for the client's acknowledgement of the last one; and
/// a client that has vanished without a word, by a pulled cable or a laptop that sleeps, is
/// noticed.
void setUpClient(int client) {
    setOption(client, IPPROTO_TCP, TCP_NODELAY, 1);
    setUpProbing(client);
    const timeval limit{silence_ms / 1000, 0};
    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

void serveClient(int client, int server) {
    const ScopedFd owner(client);
    setUpClient(client);
    clientFd = client;
    tcpLink.descriptor = &clientFd;
    while (serveOnce(client, server)) {
    }
    // What the client left behind must not meet the next one.
    {
        const ScopedLock lock(clientMutex);
        clientFd = -1;
    }
    ScpiLink_discard(&tcpLink);
}

/// The client's connection, a descriptor of the caller's own; below 0 without a client.
int copyClient() {
    const ScopedLock lock(clientMutex);
    return clientFd < 0 ? -1 : fcntl(clientFd, F_DUPFD_CLOEXEC, 0);
}

bool hasItsAddress(int client) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    return getsockname(client, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
           Ethernet_isOwnAddress(address.sin_addr);
}

/// Networking has been restarted: at an address that the meter does not have any more, nothing
/// reaches the client, nor the meter. Any thread.
void dropStrandedClient() {
    const ScopedFd client(copyClient());
    if (client.isOpen() && !hasItsAddress(client.get())) {
        DIAGNOSTIC("The client's address has gone\n");
        shutdown(client.get(), SHUT_RDWR);
    }
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
    ThreadWatch_beat();
    forgetWorkingCopies(record);
    ScpiLink_initialize(&tcpLink, &record->tcpContext, record->tcpInputBuffer,
                        record->tcpErrorQueueData);
    const int server = createTcpServer(scpiTcpPort);
    if (server < 0) {
        failToServe("createTcpServer() failed");
    }
    network_registerRestartListener(dropStrandedClient);
    for (;;) {
        serveClient(acceptClient(server), server);
    }
}
