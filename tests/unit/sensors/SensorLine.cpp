#include "SensorLine.h"

#include <array>
#include <sys/socket.h>
#include <unistd.h>

namespace {

SensorLine* line = nullptr;

} // namespace

std::vector<LineByte> SensorLine_bytes(const std::string& bytes, double first_ms, double gap_ms) {
    std::vector<LineByte> timed;
    for (const char byte : bytes) {
        timed.push_back({first_ms + gap_ms * static_cast<double>(timed.size()), byte});
    }
    return timed;
}

SensorLine::SensorLine(Answer answerToUse) : answer(std::move(answerToUse)) {
    open();
}

SensorLine::SensorLine(std::vector<LineByte> bytesToCome)
    : answer([](const std::string&) { return std::string(); }), bytes(std::move(bytesToCome)) {
    open();
}

SensorLine::~SensorLine() {
    World_playWaits(nullptr);
    line = nullptr;
    close(near);
    close(far);
}

void SensorLine::open() {
    std::array<int, 2> ends = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    near = ends[0];
    far = ends[1];
    start_ms = StillClock::now_ms();
    line = this;
    World_playWaits(play);
}

int64_t SensorLine::play(int64_t end_ns) {
    return line->isAnswering() ? 0 : line->nextByte(end_ns);
}

/// Takes what has arrived; true when there is a reply to it.
bool SensorLine::isAnswering() {
    std::array<char, 256> command{};
    const ssize_t count = recv(far, command.data(), command.size(), MSG_DONTWAIT);
    if (count <= 0) {
        return false;
    }
    const std::string text(command.data(), static_cast<size_t>(count));
    arrived += text;
    const std::string reply = answer(text);
    send(reply);
    return !reply.empty();
}

/// Lets the next byte come, if its moment is not behind the end, and returns that moment.
int64_t SensorLine::nextByte(int64_t end_ns) {
    constexpr double nanosecondsPerMillisecond = 1e6;
    if (next == bytes.size()) {
        return end_ns;
    }
    const double moment_ns = (start_ms + bytes[next].at_ms) * nanosecondsPerMillisecond;
    if (static_cast<int64_t>(moment_ns) > end_ns) {
        return end_ns;
    }
    send({bytes[next++].byte});
    return static_cast<int64_t>(moment_ns);
}

void SensorLine::send(const std::string& text) const {
    ::send(far, text.data(), text.size(), MSG_NOSIGNAL);
}

std::string SensorLine::allCommands() {
    while (isAnswering()) {
    }
    return arrived;
}

void SensorLine::hangUp() const {
    shutdown(far, SHUT_RDWR);
}
