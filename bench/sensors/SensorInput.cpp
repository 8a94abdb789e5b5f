#include "SensorInput.h"

#include "BenchText.h"

namespace {

constexpr double usualFrequency_Hz = 13.56e6;

bool refuse(const TypedValue& value, std::string text) {
    *value.error = std::move(text);
    return false;
}

constexpr std::array<SensorKey<SensorInput>, 6> inputKeys{{
    {"fwd",
     [](SensorInput& input, const TypedValue& value) {
         return TypedValue_toSignal(value, BenchText_power_W, &input.forward_W);
     }},
    {"rfl",
     [](SensorInput& input, const TypedValue& value) {
         return TypedValue_toSignal(value, BenchText_power_W, &input.reflected_W);
     }},
    {"freq",
     [](SensorInput& input, const TypedValue& value) {
         return TypedValue_toSignal(value, BenchText_frequency_Hz, &input.frequency_Hz);
     }},
    {"temp",
     [](SensorInput& input, const TypedValue& value) {
         return TypedValue_toSignal(value, BenchText_number, &input.temperature_C);
     }},
    {"max",
     [](SensorInput& input, const TypedValue& value) {
         return TypedValue_toNumber(value, BenchText_power_W, &input.maxPower_W);
     }},
    {"min",
     [](SensorInput& input, const TypedValue& value) {
         return TypedValue_toNumber(value, BenchText_power_W, &input.minPower_W);
     }},
}};

} // namespace

SensorInput SensorInput_create(double maxPower_W, double minPower_W, double temperature_C) {
    return {Signal_constant(0),
            Signal_constant(0),
            Signal_constant(usualFrequency_Hz),
            Signal_constant(temperature_C),
            maxPower_W,
            minPower_W};
}

std::string SensorInput_describe(SensorInput& input, int64_t now_ns) {
    return BenchText_format(
        "fwd=%.7g rfl=%.7g freq=%.7g temp=%.4g max=%g min=%g",
        Signal_value(input.forward_W, now_ns), Signal_value(input.reflected_W, now_ns),
        Signal_value(input.frequency_Hz, now_ns), Signal_value(input.temperature_C, now_ns),
        input.maxPower_W, input.minPower_W);
}

bool TypedValue_refuse(const TypedValue& value, std::string_view what) {
    return refuse(value, "'" + std::string(value.text) + "' is not " + std::string(what));
}

bool TypedValue_toSignal(const TypedValue& value, SignalUnit unit, Signal* signal) {
    const auto parsed = Signal_parse(value.text, unit, value.now_ns);
    *signal = parsed.value_or(*signal);
    return parsed || TypedValue_refuse(value, signalShapesText);
}

bool TypedValue_toNumber(const TypedValue& value, SignalUnit unit, double* number) {
    const auto parsed = unit(value.text);
    if (!parsed || *parsed < 0) {
        return TypedValue_refuse(value, "a number from 0 on, with its unit if it has one");
    }
    *number = *parsed;
    return true;
}

bool TypedValue_toDuration(const TypedValue& value, double* duration_s) {
    const auto parsed = BenchText_duration_s(value.text);
    if (!parsed || *parsed < 0) {
        return TypedValue_refuse(value, "a time such as 500ms or 2s");
    }
    *duration_s = *parsed;
    return true;
}

bool TypedValue_toText(const TypedValue& value, size_t longest, std::string* text) {
    if (value.text.size() > longest) {
        return refuse(value, "'" + std::string(value.text) + "' is longer than " +
                                 std::to_string(longest) + " characters");
    }
    *text = value.text;
    return true;
}

bool TypedValue_toFlag(const TypedValue& value, bool* flag) {
    if (value.text != "on" && value.text != "off") {
        return TypedValue_refuse(value, "on or off");
    }
    *flag = value.text == "on";
    return true;
}

std::span<const SensorKey<SensorInput>> SensorInput_keys() {
    return inputKeys;
}

bool SensorInput_refuseKey(std::string_view key, const char* sensorKind,
                           const std::vector<std::string>& names, const TypedValue& value) {
    return refuse(value, "unknown key '" + std::string(key) + "': " + sensorKind + " has " +
                             BenchText_list(names));
}
