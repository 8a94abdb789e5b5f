#ifndef BENCH_SENSORS_SENSOR_513X_H
#define BENCH_SENSORS_SENSOR_513X_H

#include "SensorInput.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The serial CW sensors: one-letter commands S I F R H T Z, binary replies of fixed length.

/// One row of the family's table.
struct Model513x {
    const char* name;         ///< what "plug" takes
    const char* modelText;    ///< what Identify answers, at most 8 characters
    const char* firmware;     ///< at most 8 characters
    const char* serialNumber; ///< nine characters of memory from address 48; null: no such memory
    const char* commands;     ///< letters at most 16 characters
    double maxPower_W;
    double minPower_W;
    double current_mA; ///< drawn from the instrument
};
std::span<const Model513x> Sensor513x_models();

/// What can be wrong with a sensor or its cable.
enum SerialFault : uint32_t {
    serialFaultNone,
    serialFaultSilence,   ///< answers nothing
    serialFaultShort,     ///< every reply lacks its last byte
    serialFaultWrongSync, ///< answers S with another letter
    serialFaultChatter,   ///< sends without end, asked or not
    serialFaultSlow,      ///< 400 ms between bytes
    serialFaultHostile,   ///< identity texts full of formats, memory full of zeros
    serialFaultNoise,     ///< every reply is random
    serialFaultBreak,     ///< a break, which arrives as a zero byte, before every reply
    serialFaultCut,       ///< the cable is pulled in the middle of the next reply
    serialFaultCount
};
extern const std::array<const char*, serialFaultCount> serialFaultNames;

struct Sensor513x {
    std::string modelText;
    std::string firmware;
    std::string commands;
    std::string memory; ///< bytes from address 48
    bool hasMemory;
    SensorInput input;
    double current_mA;
    double boot_s;          ///< silent this long after it was plugged in
    double latency_s;       ///< from a command to the first byte of its reply
    std::string unfinished; ///< bytes of a memory command that is not whole yet
    int64_t lastByte_ns;    ///< a memory command that stays unfinished is forgotten
    uint32_t noise;         ///< state of the noise fault
    /// Replies in the place of the sensor's own, by command letter; an empty one is a loss.
    std::map<char, std::string> scripted;
};

/// A sensor as it leaves the factory; nothing for an unknown model.
std::optional<Sensor513x> Sensor513x_create(std::string_view modelName);

/// The keys that set() takes, and those of its wire.
std::vector<std::string> Sensor513x_keyNames();

/// Sets one "key=value"; on refusal returns false and says what is allowed.
bool Sensor513x_set(Sensor513x& sensor, std::string_view key, std::string_view value,
                    int64_t now_ns, std::string& error);

/// Takes one byte from the wire and returns the reply's bytes, empty when there is none.
std::string Sensor513x_receive(Sensor513x& sensor, SerialFault fault, uint8_t byte, int64_t now_ns);

/// The values of all keys, for "status".
std::string Sensor513x_describe(Sensor513x& sensor, int64_t now_ns);

#endif
