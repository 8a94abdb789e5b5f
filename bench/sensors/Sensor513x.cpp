// The family differs in texts, limits and the serial number's memory only: all of that is in the
// table. Readings are sensor floats; forward and reflected ones carry the square root of the power.

#include "Sensor513x.h"

#include "BenchText.h"
#include "SensorFloat.h"

#include <algorithm>
#include <cmath>

const std::array<const char*, serialFaultCount> serialFaultNames = {
    "none", "silence", "short", "wrongsync", "chatter", "slow", "hostile", "noise", "break", "cut"};

namespace {

constexpr std::array<Model513x, 5> models{{
    {"5132", "5132", "2.04", "513200417", "SIFRHTZ", 1000, 0.0001, 318},
    {"5133", "5133", "2.04", "513300088", "SIFRHTZ", 100, 0.00001, 305},
    {"5134", "5134", "2.11", "513400203", "SIFRHTZ", 20000, 0.001, 342},
    {"5132A200", "5132A200", "1.07", nullptr, "SIFRHT", 200, 0.0001, 296},
    {"SMK", "SMK-250", "1.02", nullptr, "SIFRHT", 250, 0.001, 281},
}};

constexpr double usualTemperature_C = 31.5;
constexpr size_t modelLength = 8;
constexpr size_t commandsLength = 16;
constexpr size_t memoryLength = 9;
constexpr unsigned memoryStart = 48;
constexpr char memoryCommandSecond = 0x04;
constexpr int64_t longestGap_ns = 100000000;

std::string padded(std::string text, size_t length, char with) {
    text.resize(length, with);
    return text;
}

using Key = SensorKey<Sensor513x>;

constexpr std::array<Key, 7> keys{{
    {"current",
     [](Sensor513x& sensor, const TypedValue& value) {
         return TypedValue_toNumber(value, BenchText_number, &sensor.current_mA);
     }},
    {"boot", [](Sensor513x& sensor,
                const TypedValue& value) { return TypedValue_toDuration(value, &sensor.boot_s); }},
    {"latency",
     [](Sensor513x& sensor, const TypedValue& value) {
         return TypedValue_toDuration(value, &sensor.latency_s);
     }},
    {"model",
     [](Sensor513x& sensor, const TypedValue& value) {
         return TypedValue_toText(value, modelLength, &sensor.modelText);
     }},
    {"firmware",
     [](Sensor513x& sensor, const TypedValue& value) {
         return TypedValue_toText(value, modelLength, &sensor.firmware);
     }},
    {"commands",
     [](Sensor513x& sensor, const TypedValue& value) {
         return TypedValue_toText(value, commandsLength, &sensor.commands);
     }},
    {"serial",
     [](Sensor513x& sensor, const TypedValue& value) {
         const bool isSet = TypedValue_toText(value, memoryLength, &sensor.memory);
         sensor.hasMemory = sensor.hasMemory || isSet;
         return isSet;
     }},
}};

// Replies, one function per command.

std::string identity(const Sensor513x& sensor) {
    return padded(sensor.modelText, modelLength, '\xFF') +
           padded(sensor.firmware, modelLength, ' ') +
           padded(sensor.commands, commandsLength, ' ') +
           SensorFloat_bytes(sensor.input.maxPower_W) + SensorFloat_bytes(sensor.input.minPower_W);
}

std::string hostileIdentity() {
    return "%n%s%n%s%s%n%x%d%n%s%n%s%n%s%n%s" + std::string(8, '\xFF');
}

std::string power(Signal& signal, int64_t now_ns) {
    return SensorFloat_bytes(std::sqrt(std::max(0.0, Signal_value(signal, now_ns))));
}

// The second byte tells whether there is such an address.
std::string memoryAt(const Sensor513x& sensor, SerialFault fault, uint8_t address) {
    const size_t index = address - size_t{memoryStart};
    if (fault == serialFaultHostile) {
        return {"%\0", 2};
    }
    if (address < memoryStart || index >= sensor.memory.size()) {
        return {'\xFF', '\x01'};
    }
    return {sensor.memory[index], '\0'};
}

/// The reply to a command of one letter.
std::string plainReply(Sensor513x& sensor, SerialFault fault, char command, int64_t now_ns) {
    switch (command) {
    case 'S':
        return fault == serialFaultWrongSync ? "X" : "S";
    case 'I':
        return fault == serialFaultHostile ? hostileIdentity() : identity(sensor);
    case 'F':
        return power(sensor.input.forward_W, now_ns);
    case 'R':
        return power(sensor.input.reflected_W, now_ns);
    case 'H':
        return SensorFloat_bytes(Signal_value(sensor.input.frequency_Hz, now_ns));
    case 'T':
        return SensorFloat_bytes(Signal_value(sensor.input.temperature_C, now_ns));
    default:
        return {};
    }
}

/// What a reply becomes under way. A script that replaces it is sent as it stands.
std::string sent(Sensor513x& sensor, SerialFault fault, char command, std::string reply) {
    if (const auto script = sensor.scripted.find(command); script != sensor.scripted.end()) {
        return script->second;
    }
    if (fault == serialFaultSilence) {
        return {};
    }
    if (fault == serialFaultShort && !reply.empty()) {
        reply.pop_back();
    }
    if (fault == serialFaultNoise) {
        for (char& byte : reply) {
            sensor.noise = sensor.noise * 1664525U + 1013904223U;
            byte = static_cast<char>(sensor.noise >> 24U);
        }
    }
    return reply;
}

} // namespace

std::span<const Model513x> Sensor513x_models() {
    return models;
}

std::optional<Sensor513x> Sensor513x_create(std::string_view modelName) {
    const auto* row = std::ranges::find(models, modelName, &Model513x::name);
    if (row == models.end()) {
        return std::nullopt;
    }
    Sensor513x sensor{};
    sensor.modelText = row->modelText;
    sensor.firmware = row->firmware;
    sensor.commands = row->commands;
    sensor.hasMemory = row->serialNumber != nullptr;
    sensor.memory = sensor.hasMemory ? row->serialNumber : "";
    sensor.input = SensorInput_create(row->maxPower_W, row->minPower_W, usualTemperature_C);
    sensor.current_mA = row->current_mA;
    sensor.boot_s = 0.1;
    return sensor;
}

std::vector<std::string> Sensor513x_keyNames() {
    return SensorInput_keyNames(keys, {"baud"});
}

bool Sensor513x_set(Sensor513x& sensor, std::string_view key, std::string_view value,
                    int64_t now_ns, std::string& error) {
    return SensorInput_set(sensor, keys, "a serial sensor", {"baud"}, key, {value, now_ns, &error});
}

std::string Sensor513x_receive(Sensor513x& sensor, SerialFault fault, uint8_t byte,
                               int64_t now_ns) {
    const char letter = static_cast<char>(byte);
    if (now_ns - sensor.lastByte_ns > longestGap_ns) {
        sensor.unfinished.clear();
    }
    sensor.lastByte_ns = now_ns;
    if (sensor.unfinished.empty() && letter != 'Z') {
        return sent(sensor, fault, letter, plainReply(sensor, fault, letter, now_ns));
    }
    sensor.unfinished += letter;
    if (sensor.unfinished.size() < 3) {
        return {};
    }
    const bool isRead = sensor.unfinished[1] == memoryCommandSecond && sensor.hasMemory;
    sensor.unfinished.clear();
    return isRead ? sent(sensor, fault, 'Z', memoryAt(sensor, fault, byte)) : std::string();
}

std::string Sensor513x_describe(Sensor513x& sensor, int64_t now_ns) {
    return BenchText_format("%s %s serial=%s firmware=%s current=%g", sensor.modelText.c_str(),
                            SensorInput_describe(sensor.input, now_ns).c_str(),
                            sensor.memory.c_str(), sensor.firmware.c_str(), sensor.current_mA);
}
