#ifndef BENCH_SENSORS_SIGNAL_H
#define BENCH_SENSORS_SIGNAL_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A quantity that a simulated sensor measures: constant, or moving with bench time.

enum SignalShape : uint32_t { signalConstant, signalRamp, signalSine, signalWalk };

struct Signal {
    SignalShape shape;
    double from;      ///< the constant, or the lower end
    double to;        ///< upper end; a ramp stays there
    double period_s;  ///< time of the ramp, of one sine, or of the whole span at a walk's best pace
    int64_t start_ns; ///< bench time when the signal was set
    int64_t walked_ns; ///< walk: time of the last step
    double walker;     ///< walk: present value
    uint32_t seed;     ///< walk: state of its random numbers
};

/// Reads one value with its unit, such as BenchText_power_W.
using SignalUnit = std::optional<double> (*)(std::string_view);

/// "VALUE", "ramp:FROM:TO:TIME", "sine:FROM:TO:TIME" or "walk:FROM:TO:TIME"; nothing if it is none.
std::optional<Signal> Signal_parse(std::string_view text, SignalUnit unit, int64_t now_ns);

Signal Signal_constant(double value);

/// Value at a bench time. A walk advances; times must not run backwards.
double Signal_value(Signal& signal, int64_t now_ns);

/// One sentence that names the shapes, for error messages and help.
extern const char* const signalShapesText;

#endif
