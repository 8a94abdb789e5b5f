#ifndef BENCH_SENSORS_SIGNAL_H
#define BENCH_SENSORS_SIGNAL_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A quantity that a simulated sensor measures: constant, or moving with bench time.

enum SignalShape : uint32_t { signalConstant, signalRamp, signalSine, signalWalk, signalSeries };

/// A sample of a recorded series holds until the next one.
struct SignalSample {
    double time_s; ///< since the first one
    double value;
};

struct Signal {
    SignalShape shape;
    double from;      ///< the constant, or the lower end
    double to;        ///< upper end; a ramp stays there
    double period_s;  ///< time of the ramp, of one sine, or of the whole span at a walk's best pace
    int64_t start_ns; ///< bench time when the signal was set
    int64_t walked_ns; ///< walk: time of the last step
    double walker;     ///< walk: present value
    uint32_t seed;     ///< walk: state of its random numbers
    std::shared_ptr<const std::vector<SignalSample>> series = nullptr; ///< never empty
};

/// Reads one value with its unit, such as BenchText_power_W.
using SignalUnit = std::optional<double> (*)(std::string_view);

/// "VALUE", "ramp:FROM:TO:TIME", "sine:FROM:TO:TIME", "walk:FROM:TO:TIME" or "file:NAME"; nothing
/// if it is none. The file is read now: lines of a time in seconds and a value with its unit,
/// separated by blanks or a comma, and remarks behind '#'. Times do not fall; the first is the
/// start.
std::optional<Signal> Signal_parse(std::string_view text, SignalUnit unit, int64_t now_ns);

Signal Signal_constant(double value);

/// Value at a bench time. A walk advances; times must not run backwards.
double Signal_value(Signal& signal, int64_t now_ns);

/// One sentence that names the shapes, for error messages and help.
extern const char* const signalShapesText;

#endif
