#include "HalfReceiver.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds moment(300);
constexpr const char* wholeAnswer = "HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n";
constexpr size_t halfLength = 30;

/// False at the end of the connection.
bool readMore(int client, std::string& text) {
    std::array<char, 4096> block;
    const ssize_t length = recv(client, block.data(), block.size(), 0);
    text.append(block.data(), length > 0 ? static_cast<size_t>(length) : 0);
    return length > 0;
}

/// Takes the body of one request, whose length it tells. False at the end of the connection.
bool readBody(int client, std::string& body) {
    constexpr std::string_view key = "Content-Length: ";
    std::string text;
    size_t end = std::string::npos;
    while ((end = text.find("\r\n\r\n")) == std::string::npos) {
        if (!readMore(client, text)) {
            return false;
        }
    }
    const size_t length = std::strtoul(text.c_str() + text.find(key) + key.size(), nullptr, 10);
    while (text.size() < end + 4 + length) {
        if (!readMore(client, text)) {
            return false;
        }
    }
    body = text.substr(end + 4);
    return true;
}

void say(int client, std::string_view text) {
    send(client, text.data(), text.size(), MSG_NOSIGNAL);
}

void waitForEnd(int client) {
    std::string ignored;
    while (readMore(client, ignored)) {
    }
}

} // namespace

HalfReceiver::HalfReceiver(std::vector<HalfAnswer> list) : answers(std::move(list)) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, any, length) != 0 || listen(listener, 4) != 0 ||
        getsockname(listener, any, &length) != 0) {
        throw std::runtime_error("the receiver cannot listen");
    }
    port = ntohs(address.sin_port);
    thread = std::thread([this] { serve(); });
}

HalfReceiver::~HalfReceiver() {
    shutdown(listener, SHUT_RDWR);
    thread.join();
    close(listener);
}

std::string HalfReceiver::url() const {
    return "http://127.0.0.1:" + std::to_string(port) + "/write?precision=ms";
}

std::vector<std::string> HalfReceiver::bodies() const {
    const std::lock_guard lock(mutex);
    return seen;
}

void HalfReceiver::serve() {
    for (int client = 0; (client = accept(listener, nullptr, nullptr)) >= 0;) {
        serveClient(client);
        close(client);
    }
}

void HalfReceiver::serveClient(int client) {
    std::string body;
    while (readBody(client, body)) {
        {
            const std::lock_guard lock(mutex);
            seen.push_back(body);
        }
        if (!answer(client)) {
            return;
        }
    }
}

/// False if nothing more is to be said on the connection.
bool HalfReceiver::answer(int client) {
    const size_t number = bodies().size() - 1;
    const HalfAnswer how = number < answers.size() ? answers[number] : HalfAnswer::whole;
    const bool isWhole = how == HalfAnswer::whole || how == HalfAnswer::late;
    if (how == HalfAnswer::late) {
        std::this_thread::sleep_for(moment);
    }
    if (how != HalfAnswer::none) {
        say(client, isWhole ? wholeAnswer : std::string(wholeAnswer, halfLength));
    }
    if (how == HalfAnswer::none || how == HalfAnswer::halfAndWaiting) {
        waitForEnd(client);
    }
    return isWhole;
}
