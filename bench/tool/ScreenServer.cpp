#include "ScreenServer.h"

#include "ChildProcess.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int startLimit_ms = 20000;
constexpr int firstBrowserPort = 8085;
constexpr int firstScreenPort = 8185; ///< inside that page
constexpr int displayZeroPort = 8080;

std::string addressOf(int port) {
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}

bool canConnect(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool isOpen =
        fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0) {
        close(fd);
    }
    return isOpen;
}

// The server writes its display's number and a line end once it is ready.
std::string readDisplayNumber(int fd) {
    std::string number;
    std::array<char, 16> buffer{};
    pollfd waiting{fd, POLLIN, 0};
    while (!number.ends_with('\n') && poll(&waiting, 1, startLimit_ms) > 0) {
        const ssize_t count = read(fd, buffer.data(), buffer.size());
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return {};
        }
        number.append(buffer.data(), count > 0 ? static_cast<size_t>(count) : 0);
    }
    return number.substr(0, number.find('\n'));
}

bool hasEnded(pid_t child) {
    return waitpid(child, nullptr, WNOHANG) != 0;
}

} // namespace

bool ScreenServer_startVirtual(ScreenServer& server, std::string& error) {
    std::array<int, 2> pipeEnds{};
    if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
        error = "cannot make a pipe";
        return false;
    }
    server.process =
        ChildProcess_start({"Xvfb", "-displayfd", std::to_string(pipeEnds[1]), "-screen", "0",
                            "1024x768x24", "-nolisten", "tcp", "-noreset"},
                           {}, {.keepOpen = pipeEnds[1], .errorFile = "/dev/null"});
    close(pipeEnds[1]);
    const std::string number = readDisplayNumber(pipeEnds[0]);
    close(pipeEnds[0]);
    if (number.empty()) {
        error = "the virtual X server (Xvfb, package xvfb) does not start";
        ScreenServer_stop(server);
        return false;
    }
    server.display = ":" + number;
    return true;
}

bool ScreenServer_startBrowser(ScreenServer& server, std::string& error) {
    if (!ReservedPort_take(server.port, firstScreenPort) ||
        !PageServer_open(server.page, firstBrowserPort, addressOf(server.port.number))) {
        error = "there is no free port for the browser server";
        return false;
    }
    const int port = server.port.number;
    server.display = ":" + std::to_string(port - displayZeroPort);
    server.process = ChildProcess_start(
        {"broadwayd", "--address", "127.0.0.1", "--port", std::to_string(port), server.display}, {},
        {.outputFile = "/dev/null", .errorFile = "/dev/null"});
    constexpr int pause_ms = 20;
    for (int waited_ms = 0; waited_ms < startLimit_ms; waited_ms += pause_ms) {
        if (canConnect(port)) {
            server.address = addressOf(server.page.port.number);
            return true;
        }
        if (hasEnded(server.process)) {
            server.process = 0;
            break;
        }
        poll(nullptr, 0, pause_ms);
    }
    error = "the browser server (broadwayd, package libgtk-3-bin) does not start";
    ScreenServer_stop(server);
    return false;
}

void ScreenServer_stop(ScreenServer& server) {
    ChildProcess_kill(server.process, SIGTERM);
    server.process = 0;
    ReservedPort_release(server.port);
    PageServer_close(server.page);
}
