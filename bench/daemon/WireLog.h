#ifndef BENCH_DAEMON_WIRE_LOG_H
#define BENCH_DAEMON_WIRE_LOG_H

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

/// The last transfers of a port, both ways, with their times.

struct WireEntry {
    uint64_t number;
    int64_t time_ns; ///< bench time of the first byte
    int64_t last_ns; ///< and of the last
    bool toSensor;
    std::string bytes;
};

struct WireLog {
    std::deque<WireEntry> entries; ///< oldest first, at most wireLogCapacity
    uint64_t lastNumber;
    uint64_t bytesToSensor;
    uint64_t bytesFromSensor;
};
constexpr size_t wireLogCapacity = 40000;

/// Notes bytes; bytes of one direction that follow closely share an entry.
void WireLog_add(WireLog& log, int64_t now_ns, bool toSensor, std::string_view bytes);

/// Notes one message, in an entry of its own.
void WireLog_addMessage(WireLog& log, int64_t now_ns, bool toSensor, std::string_view message);

/// Notes a happening in words, such as "plugged".
void WireLog_note(WireLog& log, int64_t now_ns, std::string_view words);

/// One line per entry after the given number: number, seconds, "->" or "<-", bytes and letters.
std::string WireLog_text(const WireLog& log, uint64_t after, bool asMessages);

#endif
