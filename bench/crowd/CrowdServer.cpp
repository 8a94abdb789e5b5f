#include "CrowdServer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int64_t slowness_ns = 400'000'000;
constexpr int faultStep_ms = 20; ///< how exactly the begin of a fault is met
constexpr size_t garbageLength = 24;
constexpr uint64_t listenerFlag = 1; ///< in an event's word, beside the seat's index

int64_t now_ns() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

bool fails(std::string& error, const std::string& what) {
    error = what + ": " + strerror(errno);
    return false;
}

/// Each meter takes two descriptors.
void raiseDescriptorLimit() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

bool watch(const CrowdServer& server, int fd, size_t index, uint64_t flag) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = index << 1U | flag;
    return epoll_ctl(server.epoll, EPOLL_CTL_ADD, fd, &event) == 0;
}

void unwatch(const CrowdServer& server, int fd) {
    if (fd >= 0) {
        epoll_ctl(server.epoll, EPOLL_CTL_DEL, fd, nullptr);
    }
}

void closeFd(int& fd) {
    if (fd >= 0) {
        close(fd);
    }
    fd = -1;
}

bool bindAndListen(const CrowdServer& server, const CrowdSeat& seat) {
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(server.options.port);
    address.sin_addr.s_addr =
        htonl(server.options.base + static_cast<uint32_t>(seat.meter.number) - 1);
    return setsockopt(seat.listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
           bind(seat.listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           listen(seat.listener, 1) == 0;
}

bool openListener(CrowdServer& server, CrowdSeat& seat, std::string& error) {
    seat.listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (seat.listener < 0 || !bindAndListen(server, seat) ||
        !watch(server, seat.listener, seat.meter.number - 1, listenerFlag)) {
        const auto number = static_cast<uint32_t>(seat.meter.number);
        return fails(error, CrowdOptions_address(server.options.base + number - 1) + ":" +
                                std::to_string(server.options.port));
    }
    return true;
}

/// Lets the next client in only when there is none.
void acceptClient(CrowdServer& server, CrowdSeat& seat) {
    seat.client = accept4(seat.listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (seat.client < 0) {
        return;
    }
    const int on = 1;
    setsockopt(seat.client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ++seat.clients;
    unwatch(server, seat.listener);
    watch(server, seat.client, seat.meter.number - 1, 0);
}

void dropClient(CrowdServer& server, CrowdSeat& seat) {
    closeFd(seat.client);
    CrowdMeter_forgetInput(seat.meter);
    if (seat.listener >= 0) {
        watch(server, seat.listener, seat.meter.number - 1, listenerFlag);
    }
}

/// Whoever does not take its replies is left to find that out.
void sendBytes(const CrowdSeat& seat, std::string_view bytes) {
    if (!bytes.empty()) {
        send(seat.client, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
}

std::string garbage(CrowdServer& server) {
    std::string bytes(garbageLength, '\0');
    for (char& byte : bytes) {
        server.random = server.random * 1664525U + 1013904223U;
        byte = static_cast<char>(server.random >> 24U);
    }
    return bytes + "\r\n";
}

void reply(CrowdServer& server, CrowdSeat& seat, int64_t time_ns) {
    std::string& bytes = seat.meter.replies;
    const CrowdFault fault = seat.isFaulty ? seat.fault : CrowdFault::none;
    if (fault == CrowdFault::slow) {
        server.lateReplies.push_back(
            {time_ns + slowness_ns, seat.meter.number - 1, seat.clients, bytes});
    } else if (fault != CrowdFault::silent) {
        sendBytes(seat, fault == CrowdFault::garbage ? garbage(server) : bytes);
    }
    bytes.clear();
}

void serveClient(CrowdServer& server, CrowdSeat& seat) {
    std::array<char, 4096> buffer;
    const ssize_t count = recv(seat.client, buffer.data(), buffer.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        dropClient(server, seat);
        return;
    }
    const int64_t time_ns = now_ns();
    seat.meter.hasReadings = !(seat.isFaulty && seat.fault == CrowdFault::nan);
    CrowdMeter_receive(seat.meter, {buffer.data(), static_cast<size_t>(count)}, time_ns);
    reply(server, seat, time_ns);
}

void sendLateReplies(CrowdServer& server) {
    const int64_t time_ns = now_ns();
    while (!server.lateReplies.empty() && server.lateReplies.front().due_ns <= time_ns) {
        const CrowdReply late = std::move(server.lateReplies.front());
        server.lateReplies.pop_front();
        const CrowdSeat& seat = server.seats[late.meter];
        if (seat.client >= 0 && seat.clients == late.client) {
            sendBytes(seat, late.bytes);
        }
    }
}

void beginFault(CrowdServer& server, CrowdSeat& seat) {
    if (seat.fault == CrowdFault::vanish) {
        unwatch(server, seat.client >= 0 ? seat.client : seat.listener);
    } else if (seat.fault == CrowdFault::restart) {
        closeFd(seat.listener);
        closeFd(seat.client);
        CrowdMeter_forgetInput(seat.meter);
    }
}

bool endFault(CrowdServer& server, CrowdSeat& seat, std::string& error) {
    if (seat.fault == CrowdFault::vanish) {
        // What came in meanwhile has reached nobody.
        closeFd(seat.client);
        closeFd(seat.listener);
        CrowdMeter_forgetInput(seat.meter);
        return openListener(server, seat, error);
    }
    return seat.fault != CrowdFault::restart || openListener(server, seat, error);
}

bool isFaultTime(const CrowdServer& server, int64_t time_ns) {
    const double period_s = server.options.period_s;
    const double elapsed_s = static_cast<double>(time_ns - server.start_ns) / 1e9;
    return period_s == 0 || std::fmod(elapsed_s, period_s) >= period_s / 2;
}

bool updateFaults(CrowdServer& server, std::string& error) {
    if (server.options.faults.empty()) {
        return true;
    }
    const bool isFaulty = isFaultTime(server, now_ns());
    for (CrowdSeat& seat : server.seats) {
        if (seat.fault == CrowdFault::none || seat.isFaulty == isFaulty) {
            continue;
        }
        seat.isFaulty = isFaulty;
        if (isFaulty) {
            beginFault(server, seat);
        } else if (!endFault(server, seat, error)) {
            return false;
        }
    }
    return true;
}

int waitTime_ms(const CrowdServer& server, int limit_ms) {
    const bool isExact = !server.options.faults.empty();
    return isExact ? std::min(limit_ms, faultStep_ms) : limit_ms;
}

void serveEvent(CrowdServer& server, const epoll_event& event) {
    CrowdSeat& seat = server.seats[event.data.u64 >> 1U];
    const bool isListener = (event.data.u64 & listenerFlag) != 0;
    // An event may have been overtaken by the one before it.
    if (isListener && seat.client < 0) {
        acceptClient(server, seat);
    } else if (!isListener && seat.client >= 0) {
        serveClient(server, seat);
    }
}

} // namespace

bool CrowdServer_open(CrowdServer& server, const CrowdOptions& options, std::string& error) {
    raiseDescriptorLimit();
    server.options = options;
    server.start_ns = now_ns();
    server.epoll = epoll_create1(EPOLL_CLOEXEC);
    if (server.epoll < 0) {
        return fails(error, "epoll");
    }
    for (size_t number = 1; number <= options.count; ++number) {
        CrowdSeat& seat = server.seats.emplace_back();
        seat.meter.number = number;
        seat.meter.channels = options.channels;
        seat.meter.sensor = options.sensor;
        seat.fault = CrowdOptions_fault(options, number);
        CrowdMeter_initialize(seat.meter);
        if (!openListener(server, seat, error)) {
            return false;
        }
    }
    return true;
}

bool CrowdServer_serve(CrowdServer& server, int limit_ms, std::string& error) {
    if (!updateFaults(server, error)) {
        return false;
    }
    std::array<epoll_event, 256> events;
    const int count = epoll_wait(server.epoll, events.data(), static_cast<int>(events.size()),
                                 waitTime_ms(server, limit_ms));
    if (count < 0 && errno != EINTR) {
        return fails(error, "epoll_wait");
    }
    for (int i = 0; i < count; ++i) {
        serveEvent(server, events[static_cast<size_t>(i)]);
    }
    sendLateReplies(server);
    return true;
}

void CrowdServer_close(CrowdServer& server) {
    for (CrowdSeat& seat : server.seats) {
        closeFd(seat.client);
        closeFd(seat.listener);
        SCPI_ErrorClear(&seat.meter.context);
    }
    closeFd(server.epoll);
}
