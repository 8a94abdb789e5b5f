#include "FleetMetrics.h"

#include "FleetText.h"

#include <cmath>
#include <utility>

namespace {

constexpr double hertz = 1e6; ///< in a megahertz

/// As it stands between the quotes of a label.
std::string escape(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\n') {
            escaped += "\\n";
        } else {
            escaped.append(c == '"' || c == '\\' ? 1 : 0, '\\');
            escaped += c;
        }
    }
    return escaped;
}

std::string label(const char* name, std::string_view value) {
    return std::string(name) + "=\"" + escape(value) + "\"";
}

std::string meterLabels(const MeterView& meter) {
    return label("meter", meter.meter) + "," + label("name", meter.name) + "," +
           label("place", meter.place);
}

std::string channelLabels(const MeterView& meter, size_t channel) {
    return meterLabels(meter) + "," + label("channel", std::to_string(channel + 1)) + "," +
           label("sensor", meter.channels[channel].reading.sensor);
}

void addSample(std::string& text, const char* name, const std::string& labels, double value) {
    if (!std::isnan(value)) {
        text += std::string(name) + "{" + labels + "} ";
        FleetText_appendNumber(text, value);
        text += '\n';
    }
}

void beginFamily(std::string& text, const char* name, const char* type, const char* help) {
    text += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

struct MeasuredFamily {
    const char* name;
    const char* help;
    FleetValue value;
    double factor;
};
constexpr MeasuredFamily measuredFamilies[] = {
    {"quorvel_forward_watts", "Forward power.", fleetForward, 1},
    {"quorvel_reflected_watts", "Reflected power.", fleetReflected, 1},
    {"quorvel_vswr", "Standing-wave ratio.", fleetVswr, 1},
    {"quorvel_frequency_hertz", "Frequency.", fleetFrequency, hertz},
    {"quorvel_temperature_celsius", "Temperature of the sensor.", fleetTemperature, 1},
};

/// Calls `add(meter, channel)` for each channel with a sensor.
template <typename Add> void forEachSensor(const FleetView& view, Add add) {
    for (const MeterView& meter : view.meters) {
        for (size_t channel = 0; channel < meter.channels.size(); ++channel) {
            if (meter.channels[channel].state != MeterChannelState::noSensor) {
                add(meter, channel);
            }
        }
    }
}

void addMeasured(std::string& text, const FleetView& view, const MeasuredFamily& family) {
    beginFamily(text, family.name, "gauge", family.help);
    forEachSensor(view, [&](const MeterView& meter, size_t index) {
        const ChannelView& channel = meter.channels[index];
        const bool isMeasuring = meter.isThere && channel.reading.time_ms > 0 &&
                                 channel.state == MeterChannelState::measuring;
        if (isMeasuring) {
            addSample(text, family.name, channelLabels(meter, index),
                      channel.reading.values[family.value] * family.factor);
        }
    });
}

void addMeters(std::string& text, const FleetView& view) {
    constexpr const char* up = "quorvel_meter_up";
    beginFamily(text, up, "gauge", "1 while the meter answers.");
    for (const MeterView& meter : view.meters) {
        addSample(text, up, meterLabels(meter), meter.isThere ? 1 : 0);
    }
    constexpr const char* reconnects = "quorvel_reconnects_total";
    beginFamily(text, reconnects, "counter", "Connections to the meter that were lost.");
    for (const MeterView& meter : view.meters) {
        addSample(text, reconnects, meterLabels(meter), static_cast<double>(meter.reconnects));
    }
}

void addQuality(std::string& text, const FleetView& view) {
    constexpr const char* age = "quorvel_reading_age_seconds";
    beginFamily(text, age, "gauge", "Time since the last reading of the channel.");
    forEachSensor(view, [&](const MeterView& meter, size_t channel) {
        const int64_t time_ms = meter.channels[channel].reading.time_ms;
        if (time_ms > 0) {
            addSample(text, age, channelLabels(meter, channel),
                      FleetView_age_s(view.time_ms, time_ms));
        }
    });
    constexpr const char* gaps = "quorvel_reading_gaps_total";
    beginFamily(text, gaps, "counter", "Polls that gave no reading although there is a sensor.");
    forEachSensor(view, [&](const MeterView& meter, size_t channel) {
        addSample(text, gaps, channelLabels(meter, channel),
                  static_cast<double>(meter.channels[channel].gaps));
    });
}

void addLimits(std::string& text, const FleetView& view) {
    constexpr const char* exceeded = "quorvel_limit_exceeded";
    beginFamily(text, exceeded, "gauge", "1 while the configured limit is exceeded.");
    forEachSensor(view, [&](const MeterView& meter, size_t index) {
        const ChannelView& channel = meter.channels[index];
        for (size_t kind = 0; kind < limitKindCount; ++kind) {
            if (FleetView_limit(channel, kind)) {
                const char* name = ChannelLimits_name(static_cast<LimitKind>(kind));
                addSample(text, exceeded, channelLabels(meter, index) + "," + label("limit", name),
                          channel.limitStates.states[kind].isExceeded ? 1 : 0);
            }
        }
    });
}

/// Without an export there are only the families, so that rules can name them.
void addExport(std::string& text, const std::optional<ExportView>& view) {
    const ExportView exported = view.value_or(ExportView{});
    const struct {
        const char* name;
        const char* type;
        const char* help;
        double value;
    } families[] = {
        {"quorvel_export_up", "gauge", "1 while the receiver takes readings.",
         exported.isWell ? 1.0 : 0.0},
        {"quorvel_export_waiting", "gauge", "Readings that the receiver has not taken yet.",
         static_cast<double>(exported.waiting)},
        {"quorvel_export_readings_total", "counter", "Readings that the receiver has taken.",
         static_cast<double>(exported.exported)},
        {"quorvel_export_left_out_total", "counter",
         "Readings that the receiver refused, or that waited for too long.",
         static_cast<double>(exported.leftOut)},
    };
    for (const auto& family : families) {
        beginFamily(text, family.name, family.type, family.help);
        if (view) {
            text += std::string(family.name) + " ";
            FleetText_appendNumber(text, family.value);
            text += '\n';
        }
    }
}

} // namespace

std::string FleetMetrics_text(const FleetView& view) {
    std::string text;
    addMeters(text, view);
    for (const MeasuredFamily& family : measuredFamilies) {
        addMeasured(text, view, family);
    }
    addQuality(text, view);
    addLimits(text, view);
    addExport(text, view.exported);
    return text;
}
