#include "FleetJson.h"

#include "FleetText.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::string textOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void addValues(Json& object, const FleetValues& values) {
    for (size_t value = 0; value < fleetValueCount; ++value) {
        if (!std::isnan(values[value])) {
            object[std::string(FleetReading_name(value))] = values[value];
        }
    }
}

void addLimits(Json& object, const ChannelView& channel) {
    Json limits = Json::object();
    Json exceeded = Json::array();
    for (size_t kind = 0; kind < limitKindCount; ++kind) {
        const char* name = ChannelLimits_name(static_cast<LimitKind>(kind));
        if (const std::optional<double> limit = FleetView_limit(channel, kind)) {
            limits[name] = *limit;
        }
        if (channel.limitStates.states[kind].isExceeded) {
            exceeded.push_back(name);
        }
    }
    object["limits"] = std::move(limits);
    object["exceeded"] = std::move(exceeded);
}

Json channelOf(const MeterView& meter, size_t index, int64_t now_ms) {
    const ChannelView& channel = meter.channels[index];
    Json object{{"channel", index + 1}, {"state", FleetView_channelState(meter, index)}};
    if (channel.state != MeterChannelState::noSensor) {
        object["sensor"] = channel.reading.sensor;
        object["sensor_serial"] = channel.reading.sensorSerial;
    }
    object["gaps"] = channel.gaps;
    object["offset_dB"] = channel.offset_dB;
    addLimits(object, channel);
    if (channel.reading.time_ms > 0) {
        object["time"] = FleetText_time(channel.reading.time_ms);
        object["age_s"] = FleetView_age_s(now_ms, channel.reading.time_ms);
        addValues(object, channel.reading.values);
    }
    return object;
}

Json meterOf(const MeterView& meter, int64_t now_ms) {
    Json channels = Json::array();
    int64_t newest_ms = 0;
    for (size_t index = 0; index < meter.channels.size(); ++index) {
        channels.push_back(channelOf(meter, index, now_ms));
        newest_ms = std::max(newest_ms, meter.channels[index].reading.time_ms);
    }
    Json object{{"meter", meter.meter},
                {"name", meter.name},
                {"place", meter.place},
                {"address", meter.address},
                {"model", meter.model},
                {"firmware", meter.firmware},
                {"state", FleetView_meterState(meter)}};
    if (newest_ms > 0) {
        object["age_s"] = FleetView_age_s(now_ms, newest_ms);
    }
    object["reconnects"] = meter.reconnects;
    object["channels"] = std::move(channels);
    return object;
}

/// NaN is written as null.
Json columnOf(const std::vector<FleetReading>& readings, size_t value) {
    Json column = Json::array();
    for (const FleetReading& reading : readings) {
        column.push_back(reading.values[value]);
    }
    return column;
}

Json textsOf(const std::vector<FleetReading>& readings, std::string FleetReading::*text) {
    Json column = Json::array();
    for (const FleetReading& reading : readings) {
        column.push_back(reading.*text);
    }
    return column;
}

} // namespace

std::string FleetJson_fleet(const FleetView& view) {
    Json meters = Json::array();
    for (const MeterView& meter : view.meters) {
        meters.push_back(meterOf(meter, view.time_ms));
    }
    Json object{{"time", FleetText_time(view.time_ms)}, {"meters", std::move(meters)}};
    if (!view.dropped.empty()) {
        object["dropped"] = view.dropped;
    }
    return textOf(object);
}

std::string FleetJson_meter(const MeterView& meter, int64_t now_ms) {
    return textOf(meterOf(meter, now_ms));
}

std::string FleetJson_readings(const HistoryQuery& query,
                               const std::vector<FleetReading>& readings) {
    Json times = Json::array();
    for (const FleetReading& reading : readings) {
        times.push_back(FleetText_time(reading.time_ms));
    }
    Json object{{"meter", query.meter},
                {"channel", query.channel},
                {"time", std::move(times)},
                {"sensor", textsOf(readings, &FleetReading::sensor)},
                {"sensor_serial", textsOf(readings, &FleetReading::sensorSerial)}};
    for (size_t value = 0; value < fleetValueCount; ++value) {
        const bool isAny = std::ranges::any_of(readings, [value](const FleetReading& reading) {
            return !std::isnan(reading.values[value]);
        });
        if (isAny) {
            object[std::string(FleetReading_name(value))] = columnOf(readings, value);
        }
    }
    return textOf(object);
}

std::string FleetJson_events(const std::vector<FleetEvent>& events) {
    Json list = Json::array();
    for (const FleetEvent& event : events) {
        list.push_back({{"time", FleetText_time(event.time_ms)},
                        {"meter", event.meter},
                        {"channel", event.channel},
                        {"event", event.kind},
                        {"detail", event.detail}});
    }
    return textOf({{"events", std::move(list)}});
}

std::string FleetJson_error(const std::string& why) {
    return textOf({{"error", why}});
}
