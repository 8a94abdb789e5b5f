#include "Channel.h"

#include <array>
#include <sys/socket.h>
#include <unistd.h>

Channel::Channel(int type, Answer answerToUse) : answer(std::move(answerToUse)) {
    std::array<int, 2> ends = {-1, -1};
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) == 0) {
        near = ends[0];
        far = ends[1];
    }
    sensor = std::thread([this] { serve(); });
}

Channel::~Channel() {
    hangUp();
    close(near);
    close(far);
}

void Channel::serve() {
    std::array<char, 256> bytes{};
    for (;;) {
        const ssize_t count = recv(far, bytes.data(), bytes.size(), 0);
        if (count <= 0) {
            return;
        }
        const std::string command(bytes.data(), static_cast<size_t>(count));
        {
            const std::lock_guard lock(mutex);
            arrived.push_back(command);
        }
        const std::string reply = answer(command);
        if (!reply.empty()) {
            send(reply);
        }
    }
}

void Channel::send(const std::string& bytes) const {
    ::send(far, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::vector<std::string> Channel::commands() const {
    const std::lock_guard lock(mutex);
    return arrived;
}

std::string Channel::allCommands() const {
    std::string all;
    for (const std::string& command : commands()) {
        all += command;
    }
    return all;
}

void Channel::clearCommands() {
    const std::lock_guard lock(mutex);
    arrived.clear();
}

void Channel::hangUp() {
    shutdown(far, SHUT_RDWR);
    if (sensor.joinable()) {
        sensor.join();
    }
}
