#include "PulseConfigText.h"

#include "Numbers.h"

#include <jansson.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdlib>

namespace {

using NumberOf = double (*)(const SENSOR_CONFIGS&);
using TakeNumber = void (*)(SENSOR_CONFIGS&, double);

/// A member of the file's object, in the order in which it is written. The "stateN" members are
/// objects of their own and follow the row that is named so.
struct MemberRow {
    const char* key;
    NumberOf get;
    TakeNumber set;
};

/// Numbers come from a file: what a field cannot hold reads as 0.
float toFloat(double value) {
    return std::fabs(value) <= static_cast<double>(FLT_MAX) ? static_cast<float>(value) : 0.0F;
}

uint8_t toByte(double value) {
    return value >= 0.0 && value < 256.0 ? static_cast<uint8_t>(value) : uint8_t{0};
}

template <bool SENSOR_CONFIGS::*field> constexpr MemberRow flagRow(const char* key) {
    return {key, [](const SENSOR_CONFIGS& configs) { return configs.*field ? 1.0 : 0.0; },
            [](SENSOR_CONFIGS& configs, double value) { configs.*field = value != 0.0; }};
}

template <float SENSOR_CONFIGS::*field> constexpr MemberRow floatRow(const char* key) {
    return {key, [](const SENSOR_CONFIGS& configs) { return static_cast<double>(configs.*field); },
            [](SENSOR_CONFIGS& configs, double value) { configs.*field = toFloat(value); }};
}

template <uint8_t SENSOR_CONFIGS::*field> constexpr MemberRow byteRow(const char* key) {
    return {key, [](const SENSOR_CONFIGS& configs) { return static_cast<double>(configs.*field); },
            [](SENSOR_CONFIGS& configs, double value) { configs.*field = toByte(value); }};
}

constexpr std::array<MemberRow, 10> membersBeforeStates = {{
    flagRow<&SENSOR_CONFIGS::bAutoFrequency>("autoFrequency"),
    floatRow<&SENSOR_CONFIGS::freqVal>("freqValue"),
    flagRow<&SENSOR_CONFIGS::bAutoPeriod>("autoPeriod"),
    floatRow<&SENSOR_CONFIGS::prdVal>("periodValue"),
    flagRow<&SENSOR_CONFIGS::bAutoTriggerLevel>("autoTriggerLevel"),
    floatRow<&SENSOR_CONFIGS::trigLevelVal>("triggerLevelValue"),
    floatRow<&SENSOR_CONFIGS::trigDelayVal>("triggerLevelDelay"),
    byteRow<&SENSOR_CONFIGS::trigSlope>("triggerSlope"),
    flagRow<&SENSOR_CONFIGS::bModelIsTriggeredGates>("signalModel"),
    byteRow<&SENSOR_CONFIGS::numStates>("numStates"),
}};

constexpr std::array<const char*, pulseStateCount> stateKeys = {"state1", "state2", "state3",
                                                                "state4"};

constexpr std::array<MemberRow, 2> membersAfterStates = {{
    floatRow<&SENSOR_CONFIGS::gateBegin>("gateBegin"),
    floatRow<&SENSOR_CONFIGS::gateEnd>("gateEnd"),
}};

/// A number member; 0 when it is missing or something else.
double numberAt(const json_t* object, const char* key) {
    return json_number_value(json_object_get(object, key));
}

PULSE_STATE_INTVL stateFrom(const json_t* object) {
    return {numberAt(object, "enabled") != 0.0, toFloat(numberAt(object, "begin")),
            toFloat(numberAt(object, "end"))};
}

SENSOR_CONFIGS configsFrom(const json_t* object) {
    SENSOR_CONFIGS configs{};
    for (const MemberRow& row : membersBeforeStates) {
        row.set(configs, numberAt(object, row.key));
    }
    // More states than there are would lead readers beyond the table.
    configs.numStates = std::min<uint8_t>(configs.numStates, pulseStateCount);
    for (size_t state = 0; state < stateKeys.size(); ++state) {
        configs.pulseStates[state] = stateFrom(json_object_get(object, stateKeys[state]));
    }
    for (const MemberRow& row : membersAfterStates) {
        row.set(configs, numberAt(object, row.key));
    }
    return configs;
}

/// Whole numbers are written without a fraction. False for a number that JSON does not know.
bool addNumber(json_t* object, const char* key, double value) {
    constexpr double largestExact = 9007199254740992.0; // 2^53
    const bool isWhole = std::fabs(value) < largestExact && value == std::trunc(value);
    json_t* number = isWhole ? json_integer(static_cast<json_int_t>(value)) : json_real(value);
    return json_object_set_new(object, key, number) == 0;
}

bool addState(json_t* object, const char* key, const PULSE_STATE_INTVL& state) {
    json_t* member = json_object();
    const bool isWhole = addNumber(member, "enabled", state.bEnabled ? 1.0 : 0.0) &&
                         addNumber(member, "begin", static_cast<double>(state.begin)) &&
                         addNumber(member, "end", static_cast<double>(state.end));
    return json_object_set_new(object, key, member) == 0 && isWhole;
}

bool fillObject(json_t* object, const SENSOR_CONFIGS& configs) {
    bool isWhole = json_object_set_new(object, "name", json_string("Default")) == 0;
    for (const MemberRow& row : membersBeforeStates) {
        isWhole = addNumber(object, row.key, row.get(configs)) && isWhole;
    }
    for (size_t state = 0; state < stateKeys.size(); ++state) {
        isWhole = addState(object, stateKeys[state], configs.pulseStates[state]) && isWhole;
    }
    for (const MemberRow& row : membersAfterStates) {
        isWhole = addNumber(object, row.key, row.get(configs)) && isWhole;
    }
    return isWhole;
}

} // namespace

std::optional<SENSOR_CONFIGS> PulseConfigText_parse(std::string_view text) {
    const ScopedNumberLocale numbers;
    json_t* value =
        json_loadb(text.data(), text.size(), JSON_DECODE_ANY | JSON_DECODE_INT_AS_REAL, nullptr);
    if (value == nullptr) {
        return std::nullopt;
    }
    const SENSOR_CONFIGS configs = configsFrom(value);
    json_decref(value);
    return configs;
}

std::string PulseConfigText_compose(const SENSOR_CONFIGS& configs) {
    std::string text;
    json_t* object = json_object();
    if (fillObject(object, configs)) {
        const ScopedNumberLocale numbers;
        char* dump = json_dumps(object, JSON_INDENT(4) | JSON_REAL_PRECISION(17));
        if (dump != nullptr) {
            text = dump;
            free(dump);
        }
    }
    json_decref(object);
    return text;
}
