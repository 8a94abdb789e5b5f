#include "Signal.h"

#include "BenchText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <numbers>

const char* const signalShapesText =
    "a number, ramp:FROM:TO:TIME, sine:FROM:TO:TIME, walk:FROM:TO:TIME or file:NAME";

namespace {

constexpr std::string_view seriesMark = "file:";
constexpr int64_t walkStep_ns = 50000000;

struct ShapeName {
    std::string_view name;
    SignalShape shape;
};
constexpr std::array<ShapeName, 3> shapeNames{
    {{"ramp", signalRamp}, {"sine", signalSine}, {"walk", signalWalk}}};

double elapsedPeriods(const Signal& signal, int64_t now_ns) {
    return static_cast<double>(now_ns - signal.start_ns) / 1e9 / signal.period_s;
}

// A linear congruential generator: the same walk on every machine and in every run.
double nextRandom(uint32_t& seed) {
    seed = seed * 1664525U + 1013904223U;
    return static_cast<double>(seed >> 8U) / static_cast<double>(1U << 24U) * 2 - 1;
}

double walk(Signal& signal, int64_t now_ns) {
    const double span = signal.to - signal.from;
    const double reach = span * static_cast<double>(walkStep_ns) / 1e9 / signal.period_s;
    while (now_ns - signal.walked_ns >= walkStep_ns) {
        signal.walked_ns += walkStep_ns;
        signal.walker =
            std::clamp(signal.walker + reach * nextRandom(signal.seed),
                       std::min(signal.from, signal.to), std::max(signal.from, signal.to));
    }
    return signal.walker;
}

/// One line of a series. False when it is neither a sample nor empty.
bool readSample(std::string line, SignalUnit unit, std::vector<SignalSample>& series) {
    line.erase(std::min(line.find('#'), line.size()));
    std::ranges::replace(line, ',', ' ');
    std::ranges::replace(line, '\r', ' ');
    const auto words = BenchText_words(line);
    if (words.empty()) {
        return true;
    }
    const auto time_s = BenchText_number(words[0]);
    const auto value = words.size() == 2 ? unit(words[1]) : std::nullopt;
    if (!time_s || !value || (!series.empty() && *time_s < series.back().time_s)) {
        return false;
    }
    series.push_back({*time_s, *value});
    return true;
}

std::optional<Signal> readSeries(const std::string& name, SignalUnit unit, int64_t now_ns) {
    std::ifstream file(name);
    std::vector<SignalSample> series;
    for (std::string line; std::getline(file, line);) {
        if (!readSample(line, unit, series)) {
            return std::nullopt;
        }
    }
    if (series.empty()) {
        return std::nullopt;
    }
    const double first_s = series.front().time_s;
    for (SignalSample& sample : series) {
        sample.time_s -= first_s;
    }
    Signal signal{};
    signal.shape = signalSeries;
    signal.start_ns = now_ns;
    signal.series = std::make_shared<const std::vector<SignalSample>>(std::move(series));
    return signal;
}

double replay(const Signal& signal, int64_t now_ns) {
    const double time_s = static_cast<double>(now_ns - signal.start_ns) / 1e9;
    const auto next = std::ranges::upper_bound(*signal.series, time_s, {}, &SignalSample::time_s);
    return next == signal.series->begin() ? signal.series->front().value : std::prev(next)->value;
}

} // namespace

Signal Signal_constant(double value) {
    Signal signal{};
    signal.from = value;
    return signal;
}

std::optional<Signal> Signal_parse(std::string_view text, SignalUnit unit, int64_t now_ns) {
    if (text.starts_with(seriesMark)) {
        return readSeries(std::string(text.substr(seriesMark.size())), unit, now_ns);
    }
    const auto parts = BenchText_split(text, ':');
    if (parts.size() == 1) {
        const auto value = unit(text);
        return value ? std::optional(Signal_constant(*value)) : std::nullopt;
    }
    const auto* shape = std::ranges::find(shapeNames, parts[0], &ShapeName::name);
    if (shape == shapeNames.end() || parts.size() != 4) {
        return std::nullopt;
    }
    const auto from = unit(parts[1]);
    const auto to = unit(parts[2]);
    const auto period_s = BenchText_duration_s(parts[3]);
    if (!from || !to || !period_s || *period_s <= 0) {
        return std::nullopt;
    }
    const double middle = (*from + *to) / 2;
    return Signal{shape->shape, *from, *to, *period_s, now_ns, now_ns, middle, 8830};
}

double Signal_value(Signal& signal, int64_t now_ns) {
    const double span = signal.to - signal.from;
    switch (signal.shape) {
    case signalRamp:
        return signal.from + span * std::clamp(elapsedPeriods(signal, now_ns), 0.0, 1.0);
    case signalSine: {
        const double turns = elapsedPeriods(signal, now_ns);
        return signal.from + span * (1 - std::cos(2 * std::numbers::pi * turns)) / 2;
    }
    case signalWalk:
        return walk(signal, now_ns);
    case signalSeries:
        return replay(signal, now_ns);
    case signalConstant:
        break;
    }
    return signal.from;
}
