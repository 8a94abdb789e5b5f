// The family differs in texts, limits and the serial number's memory only: all of that is in the
// table. Readings are sensor floats; forward and reflected ones carry the square root of the power.

#include "Sensor513x.h"

#include "BenchText.h"
#include "SensorFloat.h"

#include <algorithm>
#include <cmath>
#include <vector>

const std::array<const char*, serialFaultCount> serialFaultNames = {
    "none", "silence", "short", "wrongsync", "chatter", "slow", "hostile", "noise", "cut"};

namespace {

constexpr std::array<Model513x, 5> models{{
    {"5132", "5132", "2.04", "513200417", "SIFRHTZ", 1000, 0.0001, 318},
    {"5133", "5133", "2.04", "513300088", "SIFRHTZ", 100, 0.00001, 305},
    {"5134", "5134", "2.11", "513400203", "SIFRHTZ", 20000, 0.001, 342},
    {"5132A200", "5132A200", "1.07", nullptr, "SIFRHT", 200, 0.0001, 296},
    {"SMK", "SMK-250", "1.02", nullptr, "SIFRHT", 250, 0.001, 281},
}};

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

bool refuse(std::string& error, std::string text) {
    error = std::move(text);
    return false;
}

// Setters: one per kind of value, so that the table of keys stays a table.

bool setSignal(Signal& signal, SignalUnit unit, std::string_view value, int64_t now_ns,
               std::string& error) {
    const auto parsed = Signal_parse(value, unit, now_ns);
    if (!parsed) {
        return refuse(error, "'" + std::string(value) + "' is not " + signalShapesText);
    }
    signal = *parsed;
    return true;
}

bool setNumber(double& number, std::string_view value, std::string& error) {
    const auto parsed = BenchText_number(value);
    if (!parsed) {
        return refuse(error, "'" + std::string(value) + "' is not a number");
    }
    number = *parsed;
    return true;
}

bool setDuration(double& duration_s, std::string_view value, std::string& error) {
    const auto parsed = BenchText_duration_s(value);
    if (!parsed || *parsed < 0) {
        return refuse(error, "'" + std::string(value) + "' is not a time such as 500ms or 2s");
    }
    duration_s = *parsed;
    return true;
}

bool setText(std::string& text, size_t length, std::string_view value, std::string& error) {
    if (value.size() > length) {
        return refuse(error, "'" + std::string(value) + "' is longer than " +
                                 std::to_string(length) + " characters");
    }
    text = value;
    return true;
}

bool setMemory(Sensor513x& sensor, std::string_view value, std::string& error) {
    sensor.hasMemory = true;
    return setText(sensor.memory, memoryLength, value, error);
}

using Setter = bool (*)(Sensor513x&, std::string_view, int64_t, std::string&);

struct Key {
    std::string_view name;
    Setter set;
};

constexpr std::array<Key, 12> keys{{
    {"fwd", [](Sensor513x& s, std::string_view v, int64_t now,
               std::string& e) { return setSignal(s.forward_W, BenchText_power_W, v, now, e); }},
    {"rfl", [](Sensor513x& s, std::string_view v, int64_t now,
               std::string& e) { return setSignal(s.reflected_W, BenchText_power_W, v, now, e); }},
    {"freq",
     [](Sensor513x& s, std::string_view v, int64_t now, std::string& e) {
         return setSignal(s.frequency_Hz, BenchText_frequency_Hz, v, now, e);
     }},
    {"temp",
     [](Sensor513x& s, std::string_view v, int64_t now, std::string& e) {
         return setSignal(s.temperature_C, BenchText_number, v, now, e);
     }},
    {"max", [](Sensor513x& s, std::string_view v, int64_t,
               std::string& e) { return setNumber(s.maxPower_W, v, e); }},
    {"min", [](Sensor513x& s, std::string_view v, int64_t,
               std::string& e) { return setNumber(s.minPower_W, v, e); }},
    {"current", [](Sensor513x& s, std::string_view v, int64_t,
                   std::string& e) { return setNumber(s.current_mA, v, e); }},
    {"boot", [](Sensor513x& s, std::string_view v, int64_t,
                std::string& e) { return setDuration(s.boot_s, v, e); }},
    {"model", [](Sensor513x& s, std::string_view v, int64_t,
                 std::string& e) { return setText(s.modelText, modelLength, v, e); }},
    {"firmware", [](Sensor513x& s, std::string_view v, int64_t,
                    std::string& e) { return setText(s.firmware, modelLength, v, e); }},
    {"commands", [](Sensor513x& s, std::string_view v, int64_t,
                    std::string& e) { return setText(s.commands, commandsLength, v, e); }},
    {"serial",
     [](Sensor513x& s, std::string_view v, int64_t, std::string& e) { return setMemory(s, v, e); }},
}};

// Replies, one function per command.

std::string identity(const Sensor513x& sensor) {
    return padded(sensor.modelText, modelLength, '\xFF') +
           padded(sensor.firmware, modelLength, ' ') +
           padded(sensor.commands, commandsLength, ' ') + SensorFloat_bytes(sensor.maxPower_W) +
           SensorFloat_bytes(sensor.minPower_W);
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

std::string plainReply(Sensor513x& sensor, SerialFault fault, char command, int64_t now_ns) {
    switch (command) {
    case 'S':
        return fault == serialFaultWrongSync ? "X" : "S";
    case 'I':
        return fault == serialFaultHostile ? hostileIdentity() : identity(sensor);
    case 'F':
        return power(sensor.forward_W, now_ns);
    case 'R':
        return power(sensor.reflected_W, now_ns);
    case 'H':
        return SensorFloat_bytes(Signal_value(sensor.frequency_Hz, now_ns));
    case 'T':
        return SensorFloat_bytes(Signal_value(sensor.temperature_C, now_ns));
    default:
        return {};
    }
}

std::string withFault(Sensor513x& sensor, SerialFault fault, std::string reply) {
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
    sensor.maxPower_W = row->maxPower_W;
    sensor.minPower_W = row->minPower_W;
    sensor.current_mA = row->current_mA;
    sensor.forward_W = Signal_constant(0);
    sensor.reflected_W = Signal_constant(0);
    sensor.frequency_Hz = Signal_constant(13.56e6);
    sensor.temperature_C = Signal_constant(31.5);
    sensor.boot_s = 0.1;
    return sensor;
}

bool Sensor513x_set(Sensor513x& sensor, std::string_view key, std::string_view value,
                    int64_t now_ns, std::string& error) {
    const auto* row = std::ranges::find(keys, key, &Key::name);
    if (row == keys.end()) {
        std::vector<std::string> allowed = {"baud"};
        for (const Key& known : keys) {
            allowed.emplace_back(known.name);
        }
        return refuse(error, "unknown key '" + std::string(key) + "': a serial sensor has " +
                                 BenchText_list(allowed));
    }
    if (!row->set(sensor, value, now_ns, error)) {
        error = std::string(key) + ": " + error;
        return false;
    }
    return true;
}

std::string Sensor513x_receive(Sensor513x& sensor, SerialFault fault, uint8_t byte,
                               int64_t now_ns) {
    const char letter = static_cast<char>(byte);
    if (now_ns - sensor.lastByte_ns > longestGap_ns) {
        sensor.unfinished.clear();
    }
    sensor.lastByte_ns = now_ns;
    if (sensor.unfinished.empty() && letter != 'Z') {
        return withFault(sensor, fault, plainReply(sensor, fault, letter, now_ns));
    }
    sensor.unfinished += letter;
    if (sensor.unfinished.size() < 3) {
        return {};
    }
    const bool isRead = sensor.unfinished[1] == memoryCommandSecond && sensor.hasMemory;
    sensor.unfinished.clear();
    return isRead ? withFault(sensor, fault, memoryAt(sensor, fault, byte)) : std::string();
}

std::string Sensor513x_describe(Sensor513x& sensor, int64_t now_ns) {
    return BenchText_format(
        "%s fwd=%.7g rfl=%.7g freq=%.7g temp=%.4g serial=%s firmware=%s "
        "max=%g min=%g current=%g",
        sensor.modelText.c_str(), Signal_value(sensor.forward_W, now_ns),
        Signal_value(sensor.reflected_W, now_ns), Signal_value(sensor.frequency_Hz, now_ns),
        Signal_value(sensor.temperature_C, now_ns), sensor.memory.c_str(), sensor.firmware.c_str(),
        sensor.maxPower_W, sensor.minPower_W, sensor.current_mA);
}
