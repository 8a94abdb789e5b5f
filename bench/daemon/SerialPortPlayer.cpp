#include "SerialPortPlayer.h"

#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr double bitsPerByte = 10;
constexpr int64_t slowByte_ns = 400000000;
constexpr int64_t fastestByte_ns = 20000;
constexpr int64_t currentPeriod_ns = 1000000000;
constexpr int emptyPort_mA = 2;
constexpr size_t longestCutReply = 40;

const std::array<const char*, 2> devices = {"/dev/ttyS1", "/dev/ttyS2"};

int64_t byteTime_ns(const SerialPortPlayer& player) {
    if (player.fault == serialFaultSlow) {
        return slowByte_ns;
    }
    return player.baud > 0 ? static_cast<int64_t>(std::lround(bitsPerByte / player.baud * 1e9)) : 0;
}

// A sensor draws a little more while it starts, and its current is never quite still.
int current_mA(SerialPortPlayer& player, int64_t now_ns) {
    constexpr std::array<int, 7> ripple = {0, 1, -1, 2, 0, -2, 1};
    if (!player.sensor) {
        return emptyPort_mA;
    }
    const auto steady = static_cast<int>(std::lround(player.sensor->current_mA));
    const bool isStarting = now_ns - player.plugged_ns < currentPeriod_ns;
    const bool isExact = steady <= 260; // near the threshold of detection nothing is added
    return isExact ? steady : steady + (isStarting ? 60 : ripple[player.currentSteps++ % 7]);
}

bool isAwake(const SerialPortPlayer& player, int64_t now_ns) {
    return player.sensor &&
           static_cast<double>(now_ns - player.plugged_ns) >= player.sensor->boot_s * 1e9;
}

void queueReply(SerialPortPlayer& player, std::string reply, int64_t asked_ns) {
    if (player.fault == serialFaultCut && reply.size() > 1 && reply.size() <= longestCutReply) {
        reply.resize(reply.size() / 2);
        player.unplugAfterReply = true;
    }
    if (player.fault == serialFaultBreak && !reply.empty()) {
        reply.insert(0, 1, '\0');
    }
    int64_t due = asked_ns + static_cast<int64_t>(player.sensor->latency_s * 1e9);
    if (!player.fromSensor.empty()) {
        due = std::max(due, player.fromSensor.back().due_ns);
    }
    for (const char byte : reply) {
        due += byteTime_ns(player);
        player.fromSensor.push_back({due, byte});
    }
}

void listen(SerialPortPlayer& player, int64_t now_ns) {
    const std::string bytes = Terminal_read(player.terminal);
    if (bytes.empty()) {
        return;
    }
    WireLog_add(player.log, now_ns, true, bytes);
    int64_t due = player.toSensor.empty() ? now_ns : player.toSensor.back().due_ns;
    for (const char byte : bytes) {
        due += player.fault == serialFaultSlow ? 0 : byteTime_ns(player);
        player.toSensor.push_back({due, byte});
    }
}

void answer(SerialPortPlayer& player, int64_t now_ns, int64_t until_ns) {
    while (!player.toSensor.empty() && player.toSensor.front().due_ns <= until_ns) {
        const TimedByte byte = player.toSensor.front();
        player.toSensor.pop_front();
        if (isAwake(player, now_ns)) {
            queueReply(player,
                       Sensor513x_receive(*player.sensor, player.fault,
                                          static_cast<uint8_t>(byte.byte), byte.due_ns),
                       byte.due_ns);
        }
    }
}

void chatter(SerialPortPlayer& player, int64_t now_ns) {
    if (player.fault != serialFaultChatter || !player.fromSensor.empty() ||
        !isAwake(player, now_ns)) {
        return;
    }
    player.fromSensor.push_back({now_ns + std::max(byteTime_ns(player), fastestByte_ns * 50), 'U'});
}

void speak(SerialPortPlayer& player, int64_t now_ns) {
    std::string bytes;
    while (!player.fromSensor.empty() && player.fromSensor.front().due_ns <= now_ns) {
        bytes += player.fromSensor.front().byte;
        player.fromSensor.pop_front();
    }
    if (!bytes.empty()) {
        Terminal_write(player.terminal, bytes);
        WireLog_add(player.log, now_ns, false, bytes);
    }
    if (player.unplugAfterReply && player.fromSensor.empty()) {
        SerialPortPlayer_unplug(player, now_ns);
    }
}

void stopWire(SerialPortPlayer& player) {
    player.toSensor.clear();
    player.fromSensor.clear();
    player.unplugAfterReply = false;
    player.fault = serialFaultNone;
}

} // namespace

bool SerialPortPlayer_open(SerialPortPlayer& player, uint32_t port, const std::string& world,
                           int64_t now_ns) {
    player.port = port;
    player.world = world;
    player.baud = 9600;
    SerialPortPlayer_refreshCurrent(player, now_ns);
    return Terminal_open(player.terminal, WorldFolder_path(world, devices[port]));
}

void SerialPortPlayer_close(SerialPortPlayer& player) {
    Terminal_close(player.terminal);
}

void SerialPortPlayer_plug(SerialPortPlayer& player, Sensor513x sensor, int64_t now_ns) {
    stopWire(player);
    player.replug_ns = 0;
    player.sensor = std::move(sensor);
    player.plugged_ns = now_ns;
    WireLog_note(player.log, now_ns, "plugged " + player.sensor->modelText);
    SerialPortPlayer_refreshCurrent(player, now_ns);
}

void SerialPortPlayer_unplug(SerialPortPlayer& player, int64_t now_ns) {
    stopWire(player);
    player.replug_ns = 0;
    player.sensor.reset();
    WireLog_note(player.log, now_ns, "unplugged");
    SerialPortPlayer_refreshCurrent(player, now_ns);
}

void SerialPortPlayer_replug(SerialPortPlayer& player, double after_s, int64_t now_ns) {
    player.pulled = player.sensor;
    SerialPortPlayer_unplug(player, now_ns);
    player.replug_ns = now_ns + static_cast<int64_t>(after_s * 1e9);
}

void SerialPortPlayer_setFault(SerialPortPlayer& player, SerialFault fault, int64_t now_ns) {
    // What is on the wire already meets the sensor as it was.
    answer(player, now_ns, std::numeric_limits<int64_t>::max());
    player.fault = fault;
    player.fromSensor.clear();
    player.unplugAfterReply = false;
    WireLog_note(player.log, now_ns, std::string("fault ") + serialFaultNames.at(fault));
}

void SerialPortPlayer_refreshCurrent(SerialPortPlayer& player, int64_t now_ns) {
    WorldFolder_write(player.world, WorldFolder_currentFile(player.port),
                      std::to_string(current_mA(player, now_ns)) + "\n");
    player.nextCurrent_ns =
        player.sensor ? now_ns + currentPeriod_ns : std::numeric_limits<int64_t>::max();
}

void SerialPortPlayer_service(SerialPortPlayer& player, int64_t now_ns) {
    if (player.replug_ns != 0 && now_ns >= player.replug_ns && player.pulled) {
        SerialPortPlayer_plug(player, *player.pulled, now_ns);
    }
    listen(player, now_ns);
    answer(player, now_ns, now_ns);
    chatter(player, now_ns);
    speak(player, now_ns);
    if (now_ns >= player.nextCurrent_ns) {
        SerialPortPlayer_refreshCurrent(player, now_ns);
    }
}

int64_t SerialPortPlayer_nextDue_ns(const SerialPortPlayer& player) {
    int64_t next = player.nextCurrent_ns;
    if (player.replug_ns != 0) {
        next = std::min(next, player.replug_ns);
    }
    for (const auto* queue : {&player.toSensor, &player.fromSensor}) {
        if (!queue->empty()) {
            next = std::min(next, queue->front().due_ns);
        }
    }
    return next;
}
