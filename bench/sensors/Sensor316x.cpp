// Messages are looked up in three tables: settings (Settings316x), readings, and what remains. An
// unknown or refused message leaves an error in the queue and has no reply.

#include "Sensor316x.h"

#include "BenchText.h"
#include "PlugAndPlay316x.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::array<Model316x, 4> models{{
    {"3162", "1.08", "316200031", 1000, 0.0001, true},
    {"3163", "1.08", "316300017", 5000, 0.0005, false},
    {"3164", "1.10", "316400125", 2000, 0.0002, true},
    {"3165", "1.10", "316500009", 20000, 0.002, false},
}};

constexpr int statusReset = 0x01;
constexpr int statusErrors = 0x04;
constexpr int statusQuestionable = 0x08;
constexpr int questionableNoPulse = 0x200;
constexpr double usualTemperature_C = 33.0;
constexpr double notANumber = 9.91e37;
constexpr size_t longestErrorQueue = 16;

struct ErrorText {
    int code;
    const char* text;
};
constexpr std::array<ErrorText, 7> errorTexts{{
    {-104, "Data type error"},
    {-109, "Missing parameter"},
    {-113, "Undefined header"},
    {-222, "Data out of range"},
    {-230, "Data corrupt or stale"},
    {-350, "Queue overflow"},
    {-410, "Query INTERRUPTED"},
}};

void raiseError(Sensor316x& sensor, int code) {
    const auto* row = std::ranges::find(errorTexts, code, &ErrorText::code);
    const char* text = row == errorTexts.end() ? "Device-specific error" : row->text;
    if (sensor.errors.size() < longestErrorQueue) {
        sensor.errors.push_back({code, text});
    }
}

// The signal.

double dutyCycle(const Sensor316x& sensor) {
    return sensor.period_s > 0 ? std::clamp(sensor.width_s / sensor.period_s, 0.0, 1.0) : 1;
}

PulsePower316x around(double mean_W) {
    return {mean_W, mean_W * 1.05, mean_W * 0.95};
}

void measure(Sensor316x& sensor, int64_t now_ns) {
    Readings316x& readings = sensor.readings;
    readings.isThere = true;
    readings.forward_W = Signal_value(sensor.input.forward_W, now_ns);
    readings.reflected_W = Signal_value(sensor.input.reflected_W, now_ns);
    readings.frequency_Hz = Signal_value(sensor.input.frequency_Hz, now_ns);
    readings.temperature_C = Signal_value(sensor.input.temperature_C, now_ns);
    readings.period_s = sensor.period_s;
    readings.width_s = sensor.width_s;
    const double duty = dutyCycle(sensor);
    const double level = sensor.level_W > 0 ? sensor.level_W
                         : duty > 0         ? readings.forward_W / duty
                                            : 0;
    readings.gate = sensor.gate.value_or(around(level));
    for (size_t state = 0; state < readings.states.size(); ++state) {
        const double part = 1 - 0.25 * static_cast<double>(state);
        readings.states.at(state) = sensor.states.at(state).value_or(around(level * part));
    }
}

int questionable(const Sensor316x& sensor) {
    return sensor.questionable | (sensor.period_s > 0 ? 0 : questionableNoPulse);
}

/// Until it has come up from a reset it has nothing to report.
int statusByte(const Sensor316x& sensor, int64_t now_ns) {
    if (static_cast<double>(now_ns - sensor.reset_ns) < sensor.boot_s * 1e9) {
        return 0;
    }
    return (sensor.isReset ? statusReset : 0) | (sensor.errors.empty() ? 0 : statusErrors) |
           (questionable(sensor) != 0 ? statusQuestionable : 0);
}

// Readings: what "FETC:...?" answers.

struct ReadingRow {
    std::string_view query;
    double (*value)(const Readings316x&);
};

constexpr std::array<ReadingRow, 23> readingRows{{
    {"FETC:FORW:AVER?", [](const Readings316x& r) { return r.forward_W; }},
    {"FETC:REFL:AVER?", [](const Readings316x& r) { return r.reflected_W; }},
    {"FETC:FREQ?", [](const Readings316x& r) { return r.frequency_Hz / 1e6; }},
    {"FETC:TEMP?", [](const Readings316x& r) { return r.temperature_C; }},
    {"FETC:PER?", [](const Readings316x& r) { return r.period_s * 1e6; }},
    {"FETC:PRF?", [](const Readings316x& r) { return r.period_s > 0 ? 1 / r.period_s : 0; }},
    {"FETC:WIDT?", [](const Readings316x& r) { return r.width_s * 1e6; }},
    {"FETC:DCYC?",
     [](const Readings316x& r) { return r.period_s > 0 ? r.width_s / r.period_s * 100 : 0; }},
    {"FETC:GATE:MEAN?", [](const Readings316x& r) { return r.gate.mean_W; }},
    {"FETC:GATE:MAX?", [](const Readings316x& r) { return r.gate.max_W; }},
    {"FETC:GATE:MIN?", [](const Readings316x& r) { return r.gate.min_W; }},
    {"FETC:STAT1:MEAN?", [](const Readings316x& r) { return r.states[0].mean_W; }},
    {"FETC:STAT2:MEAN?", [](const Readings316x& r) { return r.states[1].mean_W; }},
    {"FETC:STAT3:MEAN?", [](const Readings316x& r) { return r.states[2].mean_W; }},
    {"FETC:STAT4:MEAN?", [](const Readings316x& r) { return r.states[3].mean_W; }},
    {"FETC:STAT1:MAX?", [](const Readings316x& r) { return r.states[0].max_W; }},
    {"FETC:STAT2:MAX?", [](const Readings316x& r) { return r.states[1].max_W; }},
    {"FETC:STAT3:MAX?", [](const Readings316x& r) { return r.states[2].max_W; }},
    {"FETC:STAT4:MAX?", [](const Readings316x& r) { return r.states[3].max_W; }},
    {"FETC:STAT1:MIN?", [](const Readings316x& r) { return r.states[0].min_W; }},
    {"FETC:STAT2:MIN?", [](const Readings316x& r) { return r.states[1].min_W; }},
    {"FETC:STAT3:MIN?", [](const Readings316x& r) { return r.states[2].min_W; }},
    {"FETC:STAT4:MIN?", [](const Readings316x& r) { return r.states[3].min_W; }},
}};

std::string readingText(const Readings316x& readings, const ReadingRow& row) {
    return BenchText_format("%.9g", readings.isThere ? row.value(readings) : notANumber);
}

// The remaining queries.

std::string nextError(Sensor316x& sensor) {
    if (sensor.errors.empty()) {
        return "0,\"No error\"";
    }
    const Error316x error = sensor.errors.front();
    sensor.errors.pop_front();
    return BenchText_format("%d,\"%s\"", error.code, error.text);
}

std::string identityText(const Sensor316x& sensor, const std::string& text) {
    return sensor.isHostile ? "%n%s%n%s%n%s%n%s" : text;
}

std::string plugAndPlayFile(const Sensor316x& sensor) {
    return PlugAndPlay316x_file(sensor.modelText, sensor.input);
}

struct QueryRow {
    std::string_view query;
    std::string (*answer)(Sensor316x&, int64_t now_ns);
};

constexpr std::array<QueryRow, 14> queryRows{{
    {"*STB?", [](Sensor316x& s, int64_t now) { return std::to_string(statusByte(s, now)); }},
    {"*OPC?",
     [](Sensor316x& s, int64_t now) { return std::string(now >= s.measured_ns ? "1" : "0"); }},
    {"SYST:IDEN:MOD?", [](Sensor316x& s, int64_t) { return identityText(s, s.modelText); }},
    {"SYST:IDEN:SN?", [](Sensor316x& s, int64_t) { return identityText(s, s.serialNumber); }},
    {"SYST:IDEN:FWR?", [](Sensor316x& s, int64_t) { return identityText(s, s.firmware); }},
    {"SYST:ERR?", [](Sensor316x& s, int64_t) { return nextError(s); }},
    {"SYST:ERR:COUN?", [](Sensor316x& s, int64_t) { return std::to_string(s.errors.size()); }},
    {"STAT:QUES:COND?", [](Sensor316x& s, int64_t) { return std::to_string(questionable(s)); }},
    {"FETC:GATE:COUN?",
     [](Sensor316x& s, int64_t) { return std::string(s.period_s > 0 ? "1" : "0"); }},
    {"PNP:AVA?", [](Sensor316x& s, int64_t) { return std::string(s.hasPlugAndPlay ? "1" : "0"); }},
    {"PNP:VERS?", [](Sensor316x&, int64_t) { return std::string("1.0"); }},
    {"PNP:FILE:SIZE?",
     [](Sensor316x& s, int64_t) { return std::to_string(plugAndPlayFile(s).size()); }},
    {"PNP:FILE:BLOC:TOT?",
     [](Sensor316x& s, int64_t) {
         return std::to_string(PlugAndPlay316x_blockCount(plugAndPlayFile(s)));
     }},
    {"PNP:FILE:BLOC:NUMB?", [](Sensor316x& s, int64_t) { return std::to_string(s.block); }},
}};

std::string answerQuery(Sensor316x& sensor, std::string_view query, int64_t now_ns) {
    if (const auto script = sensor.scripted.find(query); script != sensor.scripted.end()) {
        return script->second;
    }
    if (query == "PNP:FILE:BLOC:DATA?") {
        return PlugAndPlay316x_block(plugAndPlayFile(sensor), sensor.block) + "\n";
    }
    if (const auto* row = std::ranges::find(queryRows, query, &QueryRow::query);
        row != queryRows.end()) {
        return row->answer(sensor, now_ns) + "\n";
    }
    if (const auto* row = std::ranges::find(readingRows, query, &ReadingRow::query);
        row != readingRows.end()) {
        return readingText(sensor.readings, *row) + "\n";
    }
    const int setting = Settings316x_find(sensor.settings, query.substr(0, query.size() - 1));
    if (setting >= 0) {
        return Settings316x_text(sensor.settings, setting) + "\n";
    }
    raiseError(sensor, -113);
    return {};
}

// Commands.

void tell(const Sensor316x& sensor, std::string_view message) {
    if (sensor.listener) {
        sensor.listener(std::string(message));
    }
}

void reset(Sensor316x& sensor, int64_t now_ns) {
    Settings316x_reset(sensor.settings);
    sensor.isReset = true;
    sensor.reset_ns = now_ns;
    sensor.measured_ns = 0;
    sensor.readings = {};
    sensor.block = 1;
}

void chooseBlock(Sensor316x& sensor, std::string_view argument) {
    const auto number = BenchText_number(argument);
    if (!number || *number < 1 || *number > PlugAndPlay316x_blockCount(plugAndPlayFile(sensor))) {
        raiseError(sensor, -222);
        return;
    }
    sensor.block = static_cast<int>(*number);
}

void store(Sensor316x& sensor, int setting, std::string_view header, std::string_view argument) {
    const int code = Settings316x_store(sensor.settings, setting, argument);
    if (code != 0) {
        raiseError(sensor, code);
        return;
    }
    sensor.scripted.erase(std::string(header) + "?");
}

void carryOut(Sensor316x& sensor, std::string_view header, std::string_view argument,
              int64_t now_ns) {
    if (const auto refusal = sensor.refused.find(header); refusal != sensor.refused.end()) {
        raiseError(sensor, refusal->second);
    } else if (header == "*RST") {
        reset(sensor, now_ns);
    } else if (header == "*CLS") {
        sensor.errors.clear();
        sensor.isReset = false;
    } else if (header == "INIT") {
        sensor.measured_ns = now_ns + static_cast<int64_t>(sensor.measuring_s * 1e9);
        measure(sensor, sensor.measured_ns);
    } else if (header == "PNP:ITR") {
        sensor.block = 1;
    } else if (header == "PNP:FILE:BLOC:NUMB") {
        chooseBlock(sensor, argument);
    } else if (const int setting = Settings316x_find(sensor.settings, header); setting >= 0) {
        store(sensor, setting, header, argument);
    } else {
        raiseError(sensor, -113);
    }
}

// Keys of "plug" and "set".

bool setPulsePower(std::optional<PulsePower316x>& power, const TypedValue& value) {
    const auto parts = BenchText_split(value.text, ':');
    std::array<double, 3> numbers{};
    for (size_t at = 0; at < numbers.size(); ++at) {
        const auto number = parts.size() == 3 ? BenchText_power_W(parts[at]) : std::nullopt;
        if (!number) {
            return TypedValue_refuse(value, "MEAN:MAX:MIN");
        }
        numbers.at(at) = *number;
    }
    power = PulsePower316x{numbers[0], numbers[1], numbers[2]};
    return true;
}

bool setQuestionable(Sensor316x& sensor, const TypedValue& value) {
    const auto number = BenchText_number(value.text);
    if (!number || *number < 0 || *number >= 65536) {
        return TypedValue_refuse(value, "a register value from 0 to 65535");
    }
    sensor.questionable = static_cast<int>(*number);
    return true;
}

constexpr std::array<SensorKey<Sensor316x>, 16> keys{{
    {"period",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toDuration(value, &sensor.period_s);
     }},
    {"width",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toDuration(value, &sensor.width_s);
     }},
    {"level",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toNumber(value, BenchText_power_W, &sensor.level_W);
     }},
    {"gate",
     [](Sensor316x& sensor, const TypedValue& value) { return setPulsePower(sensor.gate, value); }},
    {"state1", [](Sensor316x& sensor,
                  const TypedValue& value) { return setPulsePower(sensor.states[0], value); }},
    {"state2", [](Sensor316x& sensor,
                  const TypedValue& value) { return setPulsePower(sensor.states[1], value); }},
    {"state3", [](Sensor316x& sensor,
                  const TypedValue& value) { return setPulsePower(sensor.states[2], value); }},
    {"state4", [](Sensor316x& sensor,
                  const TypedValue& value) { return setPulsePower(sensor.states[3], value); }},
    {"measuring",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toDuration(value, &sensor.measuring_s);
     }},
    {"latency",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toDuration(value, &sensor.latency_s);
     }},
    {"boot", [](Sensor316x& sensor,
                const TypedValue& value) { return TypedValue_toDuration(value, &sensor.boot_s); }},
    {"questionable", setQuestionable},
    {"pnp",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toFlag(value, &sensor.hasPlugAndPlay);
     }},
    {"model",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toText(value, anyLength, &sensor.modelText);
     }},
    {"serial",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toText(value, anyLength, &sensor.serialNumber);
     }},
    {"firmware",
     [](Sensor316x& sensor, const TypedValue& value) {
         return TypedValue_toText(value, anyLength, &sensor.firmware);
     }},
}};

} // namespace

std::span<const Model316x> Sensor316x_models() {
    return models;
}

std::optional<Sensor316x> Sensor316x_create(std::string_view modelName) {
    const auto* row = std::ranges::find(models, modelName, &Model316x::name);
    if (row == models.end()) {
        return std::nullopt;
    }
    Sensor316x sensor{};
    sensor.modelText = row->name;
    sensor.firmware = row->firmware;
    sensor.serialNumber = row->serialNumber;
    sensor.settings.hasPulseSettings = row->hasPulseSettings;
    sensor.input = SensorInput_create(row->maxPower_W, row->minPower_W, usualTemperature_C);
    sensor.measuring_s = 0.05;
    sensor.hasPlugAndPlay = true;
    reset(sensor, 0);
    return sensor;
}

std::vector<std::string> Sensor316x_keyNames() {
    return SensorInput_keyNames(keys, {});
}

bool Sensor316x_set(Sensor316x& sensor, std::string_view key, std::string_view value,
                    int64_t now_ns, std::string& error) {
    return SensorInput_set(sensor, keys, "a USB sensor", {}, key, {value, now_ns, &error});
}

std::string Sensor316x_receive(Sensor316x& sensor, std::string_view message, int64_t now_ns) {
    const auto words = BenchText_words(message);
    if (words.empty()) {
        return {};
    }
    tell(sensor, message.substr(0, message.find('\n')));
    if (words[0].ends_with('?')) {
        return answerQuery(sensor, words[0], now_ns);
    }
    carryOut(sensor, words[0], words.size() > 1 ? words[1] : std::string_view(), now_ns);
    return {};
}

int Sensor316x_request(Sensor316x& sensor, char request) {
    tell(sensor, std::string{'<', request, '>'});
    return sensor.requestError;
}

void Sensor316x_interrupt(Sensor316x& sensor) {
    raiseError(sensor, -410);
}

std::string Sensor316x_describe(Sensor316x& sensor, int64_t now_ns) {
    return BenchText_format(
        "%s %s period=%gs width=%gs serial=%s firmware=%s measuring=%gs errors=%zu",
        sensor.modelText.c_str(), SensorInput_describe(sensor.input, now_ns).c_str(),
        sensor.period_s, sensor.width_s, sensor.serialNumber.c_str(), sensor.firmware.c_str(),
        sensor.measuring_s, sensor.errors.size());
}
