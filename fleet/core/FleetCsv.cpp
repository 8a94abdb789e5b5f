#include "FleetCsv.h"

#include "FleetText.h"

namespace {

void appendText(std::string& row, std::string_view text) {
    row += ',';
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        row += text;
        return;
    }
    row += '"';
    for (const char c : text) {
        row.append(c == '"' ? 2 : 1, c);
    }
    row += '"';
}

} // namespace

std::string FleetCsv_header() {
    std::string header;
    for (const std::string_view column : FleetReading_columns()) {
        header += header.empty() ? "" : ",";
        header += column;
    }
    return header + "\n";
}

void FleetCsv_append(std::string& text, const FleetReading& reading) {
    text += FleetText_time(reading.time_ms);
    appendText(text, reading.meter);
    text += ',';
    text += std::to_string(reading.channel);
    appendText(text, reading.sensor);
    appendText(text, reading.sensorSerial);
    for (const double value : reading.values) {
        text += ',';
        FleetText_appendNumber(text, value);
    }
    text += '\n';
}
