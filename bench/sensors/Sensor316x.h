#ifndef BENCH_SENSORS_SENSOR_316X_H
#define BENCH_SENSORS_SENSOR_316X_H

#include "SensorInput.h"
#include "Settings316x.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The USB sensors for CW and pulse: a SCPI dialect, one message per transfer. Frequencies travel
/// in megahertz, measured periods and widths in microseconds, everything else in base units.

/// One row of the family's table.
struct Model316x {
    const char* name;
    const char* firmware;
    const char* serialNumber;
    double maxPower_W;
    double minPower_W;
    bool hasPulseSettings; ///< period, trigger and states can be set
};
std::span<const Model316x> Sensor316x_models();

/// A measured pulse power.
struct PulsePower316x {
    double mean_W, max_W, min_W;
};

struct Error316x {
    int code;
    const char* text;
};

/// What the last measurement found.
struct Readings316x {
    bool isThere;
    double forward_W, reflected_W, frequency_Hz, temperature_C;
    double period_s, width_s;
    PulsePower316x gate;
    std::array<PulsePower316x, 4> states;
};

struct Sensor316x {
    std::string modelText;
    std::string firmware;
    std::string serialNumber;

    // The signal at its connector. Without a period it is a continuous wave.
    SensorInput input;
    double period_s;
    double width_s;
    double level_W; ///< 0: what the average and the duty cycle make it
    std::optional<PulsePower316x> gate;
    std::array<std::optional<PulsePower316x>, 4> states;

    // The instrument inside.
    double measuring_s; ///< time from INIT to completion
    double latency_s;   ///< from a query to its answer
    double boot_s;      ///< from a reset to a status byte that tells that it is over
    int questionable;   ///< bits set besides those that the signal causes
    bool hasPlugAndPlay;
    bool isHostile; ///< identity texts full of formats
    Settings316x settings;
    std::deque<Error316x> errors;
    bool isReset;        ///< tells in the status byte that a reset is over
    int64_t reset_ns;    ///< when it was reset
    int64_t measured_ns; ///< when the running measurement is complete
    Readings316x readings;
    int block; ///< of the plug-and-play file, from 1

    // What is not as the sensor would have it.
    std::map<std::string, int, std::less<>> refused; ///< codes that these settings are refused with
    /// Replies in the place of the sensor's own, by query, as they are sent; an empty one is a
    /// loss. A setting that is stored answers for itself again.
    std::map<std::string, std::string, std::less<>> scripted;
    int requestError; ///< that each control request ends with, 0 for success
    /// Told each message before it is carried out, and the control requests as "<C>", "<O>", "<I>".
    std::function<void(const std::string& message)> listener;
};

std::optional<Sensor316x> Sensor316x_create(std::string_view modelName);

/// The keys that set() takes, and those of its wire.
std::vector<std::string> Sensor316x_keyNames();

/// Sets one "key=value"; on refusal returns false and says what is allowed.
bool Sensor316x_set(Sensor316x& sensor, std::string_view key, std::string_view value,
                    int64_t now_ns, std::string& error);

/// Carries out one message. A query's reply comes back with its line end, empty for none.
std::string Sensor316x_receive(Sensor316x& sensor, std::string_view message, int64_t now_ns);

/// Carries out a control request: 'C' clears the device, 'O' and 'I' clear the halt of an endpoint.
/// The error number that it ends with, 0 for success.
int Sensor316x_request(Sensor316x& sensor, char request);

/// The error that a query meets whose reply was never read.
void Sensor316x_interrupt(Sensor316x& sensor);

std::string Sensor316x_describe(Sensor316x& sensor, int64_t now_ns);

#endif
