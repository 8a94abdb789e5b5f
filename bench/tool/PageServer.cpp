#include "PageServer.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int backlog = 8;
constexpr size_t mostClients = 16;
constexpr size_t longestRequest = 16384;

// The screen is the instrument's, whatever the size of the browser's window; it grows at most to
// twice its size, where its letters are still sharp enough.
constexpr std::string_view pageStart = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1, minimum-scale=1">
<title>Quorvel 8830K</title>
<link rel="icon" href="data:,">
<style>
html, body { margin: 0; height: 100%; overflow: hidden; background: #26292c; }
iframe { position: absolute; border: 0; width: 1024px; height: 768px; transform-origin: 0 0; }
</style>
</head>
<body>
<iframe id="screen" title="Screen of the meter" src=")";
constexpr std::string_view pageEnd = R"("></iframe>
<script>
const screen8830 = document.getElementById("screen");
function fit() {
    // On a telephone innerWidth would grow with what does not fit yet.
    const { clientWidth, clientHeight } = document.documentElement;
    const scale = Math.min(clientWidth / 1024, clientHeight / 768, 2);
    const left = Math.max(0, (clientWidth - 1024 * scale) / 2);
    const top = Math.max(0, (clientHeight - 768 * scale) / 2);
    screen8830.style.transform = `translate(${left}px, ${top}px) scale(${scale})`;
}
addEventListener("resize", fit);
fit();
</script>
</body>
</html>
)";

int listenOn(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = ReservedPort_address(port);
    if (fd >= 0 && (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
                    listen(fd, backlog) != 0)) {
        close(fd);
        return -1;
    }
    return fd;
}

std::string answerTo(const PageServer& server, std::string_view request) {
    const bool isPage = request.starts_with("GET / ");
    const std::string body = isPage ? server.page : "There is one page: /\n";
    return std::string(isPage ? "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n"
                              : "HTTP/1.1 404 Not Found\r\nContent-Type: text/plain\r\n") +
           "Cache-Control: no-store\r\nConnection: close\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// True when the client has been answered or has gone.
bool serveClient(const PageServer& server, PageClient& client) {
    std::array<char, 2048> buffer{};
    const ssize_t count = recv(client.fd, buffer.data(), buffer.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (count <= 0) {
        return true;
    }
    client.request.append(buffer.data(), static_cast<size_t>(count));
    if (client.request.find("\r\n\r\n") == std::string::npos) {
        return client.request.size() > longestRequest;
    }
    // The answer is short against a socket's buffer.
    const std::string answer = answerTo(server, client.request);
    [[maybe_unused]] const ssize_t sent =
        send(client.fd, answer.data(), answer.size(), MSG_NOSIGNAL);
    return true;
}

void acceptClients(PageServer& server) {
    while (server.clients.size() < mostClients) {
        const int fd = accept4(server.listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            return;
        }
        server.clients.push_back({fd, {}});
    }
    // Some browsers connect ahead and say nothing: the oldest one makes room.
    close(server.clients.front().fd);
    server.clients.erase(server.clients.begin());
}

} // namespace

bool PageServer_open(PageServer& server, int first, const std::string& screenAddress) {
    server.page = std::string(pageStart) + screenAddress + std::string(pageEnd);
    server.listener = ReservedPort_take(server.port, first) ? listenOn(server.port.number) : -1;
    return server.listener >= 0;
}

void PageServer_close(PageServer& server) {
    for (const PageClient& client : server.clients) {
        close(client.fd);
    }
    server.clients.clear();
    if (server.listener >= 0) {
        close(server.listener);
        server.listener = -1;
    }
    ReservedPort_release(server.port);
}

void PageServer_collect(const PageServer& server, std::vector<pollfd>& waiting) {
    if (server.listener >= 0) {
        waiting.push_back({server.listener, POLLIN, 0});
    }
    for (const PageClient& client : server.clients) {
        waiting.push_back({client.fd, POLLIN, 0});
    }
}

void PageServer_service(PageServer& server) {
    if (server.listener < 0) {
        return;
    }
    acceptClients(server);
    std::erase_if(server.clients, [&server](PageClient& client) {
        const bool isDone = serveClient(server, client);
        if (isDone) {
            close(client.fd);
        }
        return isDone;
    });
}
