#include "DiscoverReport.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t columnCount = 5;
using Row = std::array<std::string, columnCount>;

std::string sensorText(const MeterChannel& channel) {
    const FleetReading& reading = channel.reading;
    std::string text = std::to_string(reading.channel) + ": ";
    if (channel.state == MeterChannelState::noSensor) {
        return text + MeterDialogue_stateName(channel.state);
    }
    return text + reading.sensor + " (" + reading.sensorSerial + ")";
}

Row rowOf(const DiscoveredMeter& meter) {
    const AnnouncedMeter& announced = meter.announced;
    if (!meter.dialogue) {
        return {MeterAddress_text(announced.address), announced.model, "-", announced.name,
                meter.trouble};
    }
    std::string sensors;
    for (const MeterChannel& channel : meter.dialogue->channels) {
        sensors += (sensors.empty() ? "" : ", ") + sensorText(channel);
    }
    return {MeterAddress_text(announced.address), meter.dialogue->model, meter.dialogue->serial,
            announced.name, sensors};
}

/// Characters, not bytes: a name may hold any.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U; }));
}

Json channelsOf(const MeterDialogue& dialogue) {
    Json channels = Json::array();
    for (const MeterChannel& channel : dialogue.channels) {
        channels.push_back({{"channel", channel.reading.channel},
                            {"state", MeterDialogue_stateName(channel.state)},
                            {"sensor", channel.reading.sensor},
                            {"sensor_serial", channel.reading.sensorSerial}});
    }
    return channels;
}

} // namespace

std::string DiscoverReport_table(const std::vector<DiscoveredMeter>& meters) {
    std::vector<Row> rows{{"ADDRESS", "MODEL", "SERIAL", "NAME", "SENSORS"}};
    std::ranges::transform(meters, std::back_inserter(rows), rowOf);
    Row padding;
    std::string text;
    for (const Row& row : rows) {
        for (size_t column = 0; column < columnCount; ++column) {
            const size_t width = widthOf(row[column]);
            padding[column].resize(std::max(padding[column].size(), width), ' ');
        }
    }
    for (const Row& row : rows) {
        for (size_t column = 0; column + 1 < columnCount; ++column) {
            text += row[column] + padding[column].substr(widthOf(row[column])) + "  ";
        }
        text += row.back() + "\n";
    }
    return text;
}

std::string DiscoverReport_json(const std::vector<DiscoveredMeter>& meters) {
    Json list = Json::array();
    for (const DiscoveredMeter& meter : meters) {
        Json object{{"address", MeterAddress_text(meter.announced.address)},
                    {"name", meter.announced.name},
                    {"model", meter.dialogue ? meter.dialogue->model : meter.announced.model}};
        if (meter.dialogue) {
            object["meter"] = meter.dialogue->serial;
            object["firmware"] = meter.dialogue->firmware;
            object["channels"] = channelsOf(*meter.dialogue);
        } else {
            object["trouble"] = meter.trouble;
        }
        list.push_back(std::move(object));
    }
    return list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
