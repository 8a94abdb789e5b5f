// Messages are looked up in three tables: settings (Settings316x), readings, and what remains. An
// unknown or refused message leaves an error in the queue and has no reply.

#include "Sensor316x.h"

#include "BenchText.h"
#include "PlugAndPlay316x.h"
#include "Settings316x.h"

#include <algorithm>
#include <cmath>
#include <vector>

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
    readings.forward_W = Signal_value(sensor.forward_W, now_ns);
    readings.reflected_W = Signal_value(sensor.reflected_W, now_ns);
    readings.frequency_Hz = Signal_value(sensor.frequency_Hz, now_ns);
    readings.temperature_C = Signal_value(sensor.temperature_C, now_ns);
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

int statusByte(const Sensor316x& sensor) {
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

struct QueryRow {
    std::string_view query;
    std::string (*answer)(Sensor316x&, int64_t now_ns);
};

constexpr std::array<QueryRow, 14> queryRows{{
    {"*STB?", [](Sensor316x& s, int64_t) { return std::to_string(statusByte(s)); }},
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
     [](Sensor316x& s, int64_t) { return std::to_string(PlugAndPlay316x_file(s).size()); }},
    {"PNP:FILE:BLOC:TOT?",
     [](Sensor316x& s, int64_t) { return std::to_string(PlugAndPlay316x_blockCount(s)); }},
    {"PNP:FILE:BLOC:NUMB?", [](Sensor316x& s, int64_t) { return std::to_string(s.block); }},
}};

std::string answerQuery(Sensor316x& sensor, std::string_view query, int64_t now_ns) {
    if (query == "PNP:FILE:BLOC:DATA?") {
        return PlugAndPlay316x_block(sensor, sensor.block) + "\n";
    }
    if (const auto* row = std::ranges::find(queryRows, query, &QueryRow::query);
        row != queryRows.end()) {
        return row->answer(sensor, now_ns) + "\n";
    }
    if (const auto* row = std::ranges::find(readingRows, query, &ReadingRow::query);
        row != readingRows.end()) {
        return readingText(sensor.readings, *row) + "\n";
    }
    const int setting = Settings316x_find(sensor, query.substr(0, query.size() - 1));
    if (setting >= 0) {
        return Settings316x_text(sensor, setting) + "\n";
    }
    raiseError(sensor, -113);
    return {};
}

// Commands.

void reset(Sensor316x& sensor) {
    Settings316x_reset(sensor);
    sensor.isReset = true;
    sensor.measured_ns = 0;
    sensor.readings = {};
    sensor.block = 1;
}

void chooseBlock(Sensor316x& sensor, std::string_view argument) {
    const auto number = BenchText_number(argument);
    if (!number || *number < 1 || *number > PlugAndPlay316x_blockCount(sensor)) {
        raiseError(sensor, -222);
        return;
    }
    sensor.block = static_cast<int>(*number);
}

void carryOut(Sensor316x& sensor, std::string_view header, std::string_view argument,
              int64_t now_ns) {
    if (header == sensor.refusedHeader) {
        raiseError(sensor, sensor.refusedCode);
    } else if (header == "*RST") {
        reset(sensor);
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
    } else if (const int setting = Settings316x_find(sensor, header); setting >= 0) {
        const int code = Settings316x_store(sensor, setting, argument);
        if (code != 0) {
            raiseError(sensor, code);
        }
    } else {
        raiseError(sensor, -113);
    }
}

// Keys of "plug" and "set".

bool refuse(std::string& error, std::string text) {
    error = std::move(text);
    return false;
}

bool setSignal(Signal& signal, SignalUnit unit, std::string_view value, int64_t now_ns,
               std::string& error) {
    const auto parsed = Signal_parse(value, unit, now_ns);
    signal = parsed.value_or(signal);
    return parsed || refuse(error, "'" + std::string(value) + "' is not " + signalShapesText);
}

bool setValue(double& number, SignalUnit unit, std::string_view value, std::string& error) {
    const auto parsed = unit(value);
    const bool isGood = parsed && *parsed >= 0;
    number = isGood ? *parsed : number;
    return isGood || refuse(error, "'" + std::string(value) + "' is not a number with its unit");
}

bool setText(std::string& text, std::string_view value, std::string&) {
    text = value;
    return true;
}

bool setPulsePower(std::optional<PulsePower316x>& power, std::string_view value,
                   std::string& error) {
    const auto parts = BenchText_split(value, ':');
    std::array<double, 3> numbers{};
    for (size_t at = 0; at < numbers.size(); ++at) {
        const auto number = parts.size() == 3 ? BenchText_power_W(parts[at]) : std::nullopt;
        if (!number) {
            return refuse(error, "'" + std::string(value) + "' is not MEAN:MAX:MIN");
        }
        numbers.at(at) = *number;
    }
    power = PulsePower316x{numbers[0], numbers[1], numbers[2]};
    return true;
}

bool setFlag(bool& flag, std::string_view value, std::string& error) {
    flag = value == "on";
    return value == "on" || value == "off" ||
           refuse(error, "'" + std::string(value) + "' is not on or off");
}

bool setQuestionable(Sensor316x& sensor, std::string_view value, std::string& error) {
    double number = 0;
    const bool isGood = setValue(number, BenchText_number, value, error) && number < 65536;
    sensor.questionable = isGood ? static_cast<int>(number) : sensor.questionable;
    return isGood || refuse(error, "'" + std::string(value) + "' is not a register value");
}

struct Key {
    std::string_view name;
    bool (*set)(Sensor316x&, std::string_view, int64_t, std::string&);
};

constexpr std::array<Key, 21> keys{{
    {"fwd", [](Sensor316x& s, std::string_view v, int64_t now,
               std::string& e) { return setSignal(s.forward_W, BenchText_power_W, v, now, e); }},
    {"rfl", [](Sensor316x& s, std::string_view v, int64_t now,
               std::string& e) { return setSignal(s.reflected_W, BenchText_power_W, v, now, e); }},
    {"freq",
     [](Sensor316x& s, std::string_view v, int64_t now, std::string& e) {
         return setSignal(s.frequency_Hz, BenchText_frequency_Hz, v, now, e);
     }},
    {"temp",
     [](Sensor316x& s, std::string_view v, int64_t now, std::string& e) {
         return setSignal(s.temperature_C, BenchText_number, v, now, e);
     }},
    {"period", [](Sensor316x& s, std::string_view v, int64_t,
                  std::string& e) { return setValue(s.period_s, BenchText_duration_s, v, e); }},
    {"width", [](Sensor316x& s, std::string_view v, int64_t,
                 std::string& e) { return setValue(s.width_s, BenchText_duration_s, v, e); }},
    {"level", [](Sensor316x& s, std::string_view v, int64_t,
                 std::string& e) { return setValue(s.level_W, BenchText_power_W, v, e); }},
    {"gate", [](Sensor316x& s, std::string_view v, int64_t,
                std::string& e) { return setPulsePower(s.gate, v, e); }},
    {"state1", [](Sensor316x& s, std::string_view v, int64_t,
                  std::string& e) { return setPulsePower(s.states[0], v, e); }},
    {"state2", [](Sensor316x& s, std::string_view v, int64_t,
                  std::string& e) { return setPulsePower(s.states[1], v, e); }},
    {"state3", [](Sensor316x& s, std::string_view v, int64_t,
                  std::string& e) { return setPulsePower(s.states[2], v, e); }},
    {"state4", [](Sensor316x& s, std::string_view v, int64_t,
                  std::string& e) { return setPulsePower(s.states[3], v, e); }},
    {"max", [](Sensor316x& s, std::string_view v, int64_t,
               std::string& e) { return setValue(s.maxPower_W, BenchText_power_W, v, e); }},
    {"min", [](Sensor316x& s, std::string_view v, int64_t,
               std::string& e) { return setValue(s.minPower_W, BenchText_power_W, v, e); }},
    {"measuring",
     [](Sensor316x& s, std::string_view v, int64_t, std::string& e) {
         return setValue(s.measuring_s, BenchText_duration_s, v, e);
     }},
    {"latency", [](Sensor316x& s, std::string_view v, int64_t,
                   std::string& e) { return setValue(s.latency_s, BenchText_duration_s, v, e); }},
    {"questionable", [](Sensor316x& s, std::string_view v, int64_t,
                        std::string& e) { return setQuestionable(s, v, e); }},
    {"pnp", [](Sensor316x& s, std::string_view v, int64_t,
               std::string& e) { return setFlag(s.hasPlugAndPlay, v, e); }},
    {"model", [](Sensor316x& s, std::string_view v, int64_t,
                 std::string& e) { return setText(s.modelText, v, e); }},
    {"serial", [](Sensor316x& s, std::string_view v, int64_t,
                  std::string& e) { return setText(s.serialNumber, v, e); }},
    {"firmware", [](Sensor316x& s, std::string_view v, int64_t,
                    std::string& e) { return setText(s.firmware, v, e); }},
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
    sensor.maxPower_W = row->maxPower_W;
    sensor.minPower_W = row->minPower_W;
    sensor.hasPulseSettings = row->hasPulseSettings;
    sensor.forward_W = Signal_constant(0);
    sensor.reflected_W = Signal_constant(0);
    sensor.frequency_Hz = Signal_constant(13.56e6);
    sensor.temperature_C = Signal_constant(33.0);
    sensor.measuring_s = 0.05;
    sensor.hasPlugAndPlay = true;
    reset(sensor);
    return sensor;
}

bool Sensor316x_set(Sensor316x& sensor, std::string_view key, std::string_view value,
                    int64_t now_ns, std::string& error) {
    const auto* row = std::ranges::find(keys, key, &Key::name);
    if (row == keys.end()) {
        std::vector<std::string> allowed;
        allowed.reserve(keys.size());
        for (const Key& known : keys) {
            allowed.emplace_back(known.name);
        }
        return refuse(error, "unknown key '" + std::string(key) + "': a USB sensor has " +
                                 BenchText_list(allowed));
    }
    if (!row->set(sensor, value, now_ns, error)) {
        error = std::string(key) + ": " + error;
        return false;
    }
    return true;
}

std::string Sensor316x_receive(Sensor316x& sensor, std::string_view message, int64_t now_ns) {
    const auto words = BenchText_words(message);
    if (words.empty()) {
        return {};
    }
    if (words[0].ends_with('?')) {
        return answerQuery(sensor, words[0], now_ns);
    }
    carryOut(sensor, words[0], words.size() > 1 ? words[1] : std::string_view(), now_ns);
    return {};
}

void Sensor316x_interrupt(Sensor316x& sensor) {
    raiseError(sensor, -410);
}

std::string Sensor316x_describe(Sensor316x& sensor, int64_t now_ns) {
    return BenchText_format(
        "%s fwd=%.7g rfl=%.7g freq=%.7g temp=%.4g period=%gs width=%gs "
        "serial=%s firmware=%s max=%g min=%g measuring=%gs errors=%zu",
        sensor.modelText.c_str(), Signal_value(sensor.forward_W, now_ns),
        Signal_value(sensor.reflected_W, now_ns), Signal_value(sensor.frequency_Hz, now_ns),
        Signal_value(sensor.temperature_C, now_ns), sensor.period_s, sensor.width_s,
        sensor.serialNumber.c_str(), sensor.firmware.c_str(), sensor.maxPower_W, sensor.minPower_W,
        sensor.measuring_s, sensor.errors.size());
}
