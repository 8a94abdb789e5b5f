#include "LineProtocol.h"

#include "ChannelLimits.h"
#include "FleetText.h"

#include <cmath>

namespace {

constexpr std::string_view measurement = "quorvel";
constexpr const char* nanosecondsOfOne = "000000"; ///< millisecond

void appendTagValue(std::string& text, std::string_view value) {
    for (const char c : value) {
        if (c == '\\') {
            text += '/';
        } else if (static_cast<unsigned char>(c) < ' ') {
            text += '?'; // a line feed would begin another line
        } else {
            text.append(c == ',' || c == '=' || c == ' ' ? 1 : 0, '\\');
            text += c;
        }
    }
}

/// An empty tag is none.
void appendTag(std::string& text, std::string_view name, std::string_view value) {
    if (!value.empty()) {
        text += ',';
        text += name;
        text += '=';
        appendTagValue(text, value);
    }
}

/// Sorted by their names, as receivers like it best.
void appendTags(std::string& text, const FleetReading& reading, const ReadingLabels& labels) {
    appendTag(text, "channel", std::to_string(reading.channel));
    appendTag(text, "meter", reading.meter);
    appendTag(text, "name", labels.name);
    appendTag(text, "place", labels.place);
    appendTag(text, "sensor", reading.sensor);
    appendTag(text, "sensor_serial", reading.sensorSerial);
}

/// False without any: only numbers can be said, neither NaN nor infinity.
bool appendValues(std::string& text, const FleetValues& values) {
    char separator = ' ';
    for (size_t value = 0; value < values.size(); ++value) {
        if (std::isfinite(values[value])) {
            text += separator;
            text += FleetReading_name(value);
            text += '=';
            FleetText_appendNumber(text, values[value]);
            separator = ',';
        }
    }
    return separator == ',';
}

} // namespace

void LineProtocol_append(std::string& text, const FleetReading& reading,
                         const ReadingLabels& labels, LineTime time) {
    const size_t begin = text.size();
    FleetValues values = reading.values;
    ChannelLimits_applyOffset(values, labels.offset_dB);
    text += measurement;
    appendTags(text, reading, labels);
    if (!appendValues(text, values)) {
        text.resize(begin);
        return;
    }
    text += ' ';
    text += std::to_string(reading.time_ms);
    text += time == LineTime::nanoseconds ? nanosecondsOfOne : "";
    text += '\n';
}
