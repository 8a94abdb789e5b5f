#ifndef BENCH_DAEMON_SERIAL_PORT_PLAYER_H
#define BENCH_DAEMON_SERIAL_PORT_PLAYER_H

#include "Sensor513x.h"
#include "Terminal.h"
#include "WireLog.h"

#include <deque>
#include <optional>
#include <string>

/// One serial sensor port: the wire with its speed, the supply current, and the sensor on it.
/// Moments on the wire are in bench time, so that a faster clock makes a faster wire.

struct TimedByte {
    int64_t due_ns;
    char byte;
};

struct SerialPortPlayer {
    uint32_t port; ///< 0 or 1
    std::string world;
    Terminal terminal;
    std::optional<Sensor513x> sensor;
    SerialFault fault;
    double baud; ///< 0 is unlimited
    int64_t plugged_ns;
    int64_t nextCurrent_ns; ///< when the supply current is next written
    uint32_t currentSteps;
    std::deque<TimedByte> toSensor;
    std::deque<TimedByte> fromSensor;
    bool unplugAfterReply;
    int64_t replug_ns; ///< when a pulled sensor comes back, 0 for never
    std::optional<Sensor513x> pulled;
    WireLog log;
};

bool SerialPortPlayer_open(SerialPortPlayer& player, uint32_t port, const std::string& world,
                           int64_t now_ns);
void SerialPortPlayer_close(SerialPortPlayer& player);

void SerialPortPlayer_plug(SerialPortPlayer& player, Sensor513x sensor, int64_t now_ns);
void SerialPortPlayer_unplug(SerialPortPlayer& player, int64_t now_ns);

/// Pulls the sensor and puts the same one back after a time.
void SerialPortPlayer_replug(SerialPortPlayer& player, double after_s, int64_t now_ns);

void SerialPortPlayer_setFault(SerialPortPlayer& player, SerialFault fault, int64_t now_ns);

/// Writes the supply current anew, after "set current".
void SerialPortPlayer_refreshCurrent(SerialPortPlayer& player, int64_t now_ns);

/// Moves all bytes that are due.
void SerialPortPlayer_service(SerialPortPlayer& player, int64_t now_ns);

/// Bench time of the next thing to do, INT64_MAX when only the program can bring one.
int64_t SerialPortPlayer_nextDue_ns(const SerialPortPlayer& player);

#endif
