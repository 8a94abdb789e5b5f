#include "SerialSensorProtocol.h"

#include "CSimpleTimer.h"
#include "CvrtFloat.h"
#include "SerialPort.h"
#include "ThreadWatch.h"
#include "Threads.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <string_view>

namespace {

constexpr uint32_t syncLimit_ms = 500;
constexpr uint32_t identifyLimit_ms = 1000;
constexpr uint32_t measurementLimit_ms = 500;
constexpr uint32_t memoryLimit_ms = 500;
constexpr uint32_t flushLimit_ms = 2000;
constexpr uint32_t flushPause_ms = 250;
/// Answers that a sensor had kept follow each other more closely; at 9600 baud a byte takes 1 ms.
constexpr uint32_t keptAnswersGap_ms = 20;
/// Those of a sensor that was silent need not: it, or its line, may still have much to do.
constexpr uint32_t lateAnswersGap_ms = 250;
/// Bytes of one reply follow each other; at 9600 baud every millisecond.
constexpr uint32_t byteGap_ms = 100;
/// Pause after a read that a hung-up line answered at once with nothing.
constexpr uint32_t deadLinePause_ms = 100;

constexpr int flushReadSize = 32;
constexpr int measurementSize = 4;
constexpr uint32_t maxMemoryRead = 62; ///< so that text and terminator fit a 64-byte buffer

constexpr size_t modelSize = 8;
constexpr size_t firmwareAt = 8;
constexpr size_t firmwareSize = 8;
constexpr size_t commandsAt = 16;
constexpr size_t commandsSize = 16;
constexpr size_t maxPowerAt = 32;
constexpr size_t minPowerAt = 36;

/// Milliseconds that are left of a limit.
uint32_t remaining_ms(uint32_t start_ms, uint32_t limit_ms) {
    const uint32_t elapsed = getTime_ms() - start_ms;
    return elapsed < limit_ms ? limit_ms - elapsed : 0;
}

enum class Line { quiet, readable, dead };

/// Waits until the line has bytes, is seen to be of no use, or the time is over. A negative
/// descriptor is a quiet line: poll waits the whole time for it.
Line waitForLine(int fd, uint32_t timeout_ms) {
    ThreadWatch_beat(); // a slow reply has many waits
    const uint32_t start = getTime_ms();
    pollfd line = {fd, POLLIN, 0};
    int result = 0;
    do {
        line.revents = 0;
        result = poll(&line, 1, static_cast<int>(remaining_ms(start, timeout_ms)));
    } while (result < 0 && errno == EINTR);
    if (result == 0) {
        return Line::quiet;
    }
    return result > 0 && (line.revents & POLLIN) != 0 ? Line::readable : Line::dead;
}

/// Reads what is there. On a line that is dead it pauses instead, at most for `limit_ms`.
int readOrPause(int fd, Line state, char* buffer, int length, uint32_t limit_ms) {
    const int count =
        state == Line::readable ? serial_gets(fd, buffer, static_cast<size_t>(length)) : 0;
    if (count <= 0) {
        Thread_sleep_ms(std::min(limit_ms, deadLinePause_ms));
        return 0;
    }
    return count;
}

/// How long a reply may take. One that has begun is read on beyond its limit as long as its bytes
/// follow each other: a line delivers them one by one.
struct ReplyLimits {
    uint32_t begin_ms; ///< until its first byte
    uint32_t whole_ms; ///< until its last one
};

int receive(int fd, char* buffer, int length, const ReplyLimits& limits) {
    memset(buffer, 0, static_cast<size_t>(length));
    const uint32_t start = getTime_ms();
    int count = 0;
    while (count < length) {
        const uint32_t left = remaining_ms(start, limits.whole_ms);
        const uint32_t patience =
            count == 0 ? remaining_ms(start, limits.begin_ms) : std::max(left, byteGap_ms);
        const Line state = waitForLine(fd, patience);
        if (state == Line::quiet) {
            break;
        }
        const int added = readOrPause(fd, state, buffer + count, length - count, left);
        if (added == 0 && remaining_ms(start, limits.whole_ms) == 0) {
            break;
        }
        count += added;
    }
    return count;
}

/// False when bytes kept coming until flushLimit_ms after the start. A line that reports an error
/// at once is taken for quiet: the reply that is waited for next takes its time.
bool discardUntilQuiet(int fd, char* buffer, uint32_t quiet_ms, uint32_t start_ms) {
    while (waitForLine(fd, quiet_ms) == Line::readable &&
           serial_gets(fd, buffer, flushReadSize) > 0) {
        if (remaining_ms(start_ms, flushLimit_ms) == 0) {
            return false;
        }
    }
    return true;
}

uint32_t wordAt(const char* bytes) {
    uint32_t word = 0;
    for (int index = 0; index < measurementSize; ++index) {
        word = (word << 8) | static_cast<uint8_t>(bytes[index]);
    }
    return word;
}

} // namespace

bool flushSensorBuffer(int fd, char* buffer) {
    const uint32_t start = getTime_ms();
    Thread_sleep_ms(flushPause_ms);
    return discardUntilQuiet(fd, buffer, serialReadTimeout_ms, start);
}

bool discardKeptAnswers(int fd, char* buffer, bool wasSilent) {
    const uint32_t gap_ms = wasSilent ? lateAnswersGap_ms : keptAnswersGap_ms;
    return discardUntilQuiet(fd, buffer, gap_ms, getTime_ms());
}

int waitForSensorResponse(int fd, char* buffer, int length, uint32_t timeout_ms) {
    // A read that has begun within the limit blocks for its own time.
    const uint32_t reads = (timeout_ms + serialReadTimeout_ms - 1) / serialReadTimeout_ms;
    return receive(fd, buffer, length, {reads * serialReadTimeout_ms, timeout_ms});
}

bool handleCommandS(int fd, char* buffer) {
    serial_puts(fd, "S");
    const int count = waitForSensorResponse(fd, buffer, 1, syncLimit_ms);
    return count >= 1 && buffer[count - 1] == 'S';
}

bool handleCommandI(int fd, char* buffer) {
    serial_puts(fd, "I");
    constexpr auto size = static_cast<int>(serialIdentitySize);
    return waitForSensorResponse(fd, buffer, size, identifyLimit_ms) == size;
}

bool handleCommandZ(int fd, char* buffer, uint8_t firstAddress, uint32_t count) {
    // What is pending is discarded.
    receive(fd, buffer, static_cast<int>(serialNumberCount), {memoryLimit_ms, memoryLimit_ms});
    bool hasAnswered = false;
    uint32_t length = 0;
    for (uint32_t index = 0; index < std::min(count, maxMemoryRead); ++index) {
        const std::array<char, 4> command = {
            'Z', '\x04', static_cast<char>(static_cast<uint8_t>(firstAddress + index)), '\0'};
        serial_puts(fd, command.data());
        std::array<char, 2> reply{};
        if (waitForSensorResponse(fd, reply.data(), 2, memoryLimit_ms) != 2) {
            continue;
        }
        hasAnswered = true;
        if (reply[1] == 0) {
            buffer[length++] = reply[0];
            buffer[length] = '\0';
        }
    }
    return hasAnswered;
}

bool handleMeasCommand(int fd, char* buffer, const char* commandText) {
    serial_puts(fd, commandText);
    return waitForSensorResponse(fd, buffer, measurementSize, measurementLimit_ms) ==
           measurementSize;
}

float parseMeasurement(const char* buffer) {
    return floatQuorvelToIeee(wordAt(buffer));
}

void parseIdentity(const char* buffer, SENSOR_IDENTITY* identity) {
    size_t length = modelSize;
    while (length > 0 && static_cast<uint8_t>(buffer[length - 1]) == 0xFF) {
        --length;
    }
    memcpy(identity->sensorModel, buffer, length);
    identity->sensorModel[length] = '\0';
    memcpy(identity->sensorFirmwareRevision, buffer + firmwareAt, firmwareSize);
    identity->sensorFirmwareRevision[firmwareSize] = '\0';
    for (size_t position = 0; position < commandsSize; ++position) {
        const char letter = buffer[commandsAt + position];
        if (letter != ' ') {
            identity->sensorSupportedCommands[position] = letter;
        }
    }
    identity->sensorSupportedCommands[commandsSize] = '\0';
    identity->sensorPower.max = parseMeasurement(buffer + maxPowerAt);
    identity->sensorPower.min = parseMeasurement(buffer + minPowerAt);
}

bool strContainsList(const char* str, const char* list, uint32_t count) {
    const std::string_view letters(list, strnlen(list, count));
    return std::all_of(letters.begin(), letters.end(),
                       [str](char letter) { return strchr(str, letter) != nullptr; });
}

bool SerialSensorProtocol_hasNoSerialNumber(const char* model) {
    constexpr std::array<std::string_view, 2> beginnings = {"5132A200", "SMK"};
    const std::string_view text(model);
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [text](std::string_view beginning) { return text.starts_with(beginning); });
}
