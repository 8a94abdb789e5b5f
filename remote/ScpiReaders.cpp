#include "ScpiReaders.h"

#include "Numbers.h"
#include "ScpiErrors.h"
#include "ScpiRecord.h"
#include "ScpiWorkingCopy.h"

#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstring>

namespace {

scpi_result_t refuseChannel(scpi_t* context, scpiCustomError error) {
    pushCustomScpiError(context, error);
    return SCPI_RES_ERR;
}

/// A text that names a value in a short and a long form.
struct NamedValue {
    const char* shortForm;
    const char* longForm;
    uint8_t value;
};
constexpr NamedValue gateModels[] = {{"PULS", "PULSE", 0}, {"TRIG", "TRIGGERED", 1}};
constexpr NamedValue slopes[] = {{"POS", "POSITIVE", 1}, {"NEG", "NEGATIVE", 0}};

template <size_t Count>
std::optional<uint8_t> readNamed(scpi_t* context, const NamedValue (&names)[Count]) {
    ScpiString text;
    if (SCPI_ReadStringParameter(context, &text) != SCPI_RES_OK) {
        return {};
    }
    for (const NamedValue& name : names) {
        if (strcmp(text.data(), name.shortForm) == 0 || strcmp(text.data(), name.longForm) == 0) {
            return name.value;
        }
    }
    SCPI_ErrorPush(context, SCPI_ERROR_PARAMETER_ERROR);
    return {};
}

/// A unit, and the factor of a number that has it.
struct UnitRule {
    const char* unit;
    double factor;
};

// The first rule whose unit stands in the text wins, and the text is cut there. Every text with an
// S fits the first, so that 10MS becomes 10M and is refused; likewise 5KW. Remote programs rely on
// what is refused and what is not (docs/compatibility.md: time-suffix, level-suffix).
constexpr UnitRule timeRules[] = {{"S", 1}, {"MS", 1e-3}, {"US", 1e-6}};
constexpr UnitRule levelRules[] = {{"MW", 1e-3}, {"W", 1}, {"KW", 1e3}};

template <size_t Count> double cutUnit(char* text, const UnitRule (&rules)[Count]) {
    for (const UnitRule& rule : rules) {
        char* unit = strstr(text, rule.unit);
        if (unit != nullptr) {
            *unit = '\0';
            return rule.factor;
        }
    }
    return 1;
}

/// Any text but a bare unit is cut at its first H or Z and has the factor 1, so that 10KHZ becomes
/// 10K and is refused. Remote programs rely on it (docs/compatibility.md: frequency-suffix).
double cutFrequencyUnit(char* text) {
    constexpr UnitRule rules[] = {{"HZ", 1}, {"KHZ", 1e3}, {"MHZ", 1e6}};
    for (const UnitRule& rule : rules) {
        if (strcmp(text, rule.unit) != 0) {
            text[strcspn(text, rule.unit)] = '\0';
            return rule.factor;
        }
    }
    return 1;
}

/// The number in the text, times the factor, if a float can hold it.
std::optional<float> scaledNumber(scpi_t* context, const char* text, double factor) {
    double number = 0;
    if (!stringIsFloat(text, &number) || std::fabs(number * factor) > FLT_MAX) {
        SCPI_ErrorPush(context, SCPI_ERROR_PARAMETER_ERROR);
        return {};
    }
    return static_cast<float>(number * factor);
}

std::optional<float> readScaled(scpi_t* context, double (*cut)(char* text)) {
    ScpiString text;
    if (SCPI_ReadStringParameter(context, &text) != SCPI_RES_OK) {
        return {};
    }
    const double factor = cut(text.data());
    return scaledNumber(context, text.data(), factor);
}

} // namespace

bool SCPI_IsChannelValid(size_t channel) {
    scpiGetSensor();
    const uint32_t port = ScpiRecord_sensorPort(channel);
    if (port == sensorPort_None) {
        ScpiRecord_forgetCopy(channel);
        return false;
    }
    ScpiWorkingCopy_refresh(channel, port);
    return true;
}

scpi_result_t SCPI_ReadChannelParameter(scpi_t* context, size_t* channel) {
    scpi_parameter_t parameter{};
    double number = 1;
    if (SCPI_Parameter(context, &parameter, FALSE)) {
        if (!SCPI_ParamIsNumber(&parameter, FALSE) ||
            !SCPI_ParamToDouble(context, &parameter, &number) || !std::isfinite(number)) {
            return ScpiErrors_refuse(context, SCPI_ERROR_PARAMETER_ERROR);
        }
    } else if (SCPI_ParamErrorOccurred(context)) {
        return SCPI_RES_ERR;
    }
    const double rounded = std::round(number);
    if (rounded != 1 && rounded != 2) {
        return refuseChannel(context, scpiErrorChannel);
    }
    *channel = rounded == 1 ? 0 : 1;
    return SCPI_IsChannelValid(*channel) ? SCPI_RES_OK : refuseChannel(context, scpiErrorNoSensor);
}

void convertScpiStringToUpperCase(char* text) {
    for (; *text != '\0'; ++text) {
        *text = static_cast<char>(toupper(static_cast<unsigned char>(*text)));
    }
}

std::optional<std::string_view> ScpiReaders_raw(scpi_t* context, int16_t refusal) {
    scpi_parameter_t parameter{};
    if (!SCPI_Parameter(context, &parameter, TRUE)) {
        return {};
    }
    const std::string_view text(parameter.ptr, static_cast<size_t>(parameter.len));
    switch (parameter.type) {
    case SCPI_TOKEN_HEXNUM:
    case SCPI_TOKEN_OCTNUM:
    case SCPI_TOKEN_BINNUM:
        ScpiErrors_refuse(context, refusal);
        return {};
    case SCPI_TOKEN_SINGLE_QUOTE_PROGRAM_DATA:
    case SCPI_TOKEN_DOUBLE_QUOTE_PROGRAM_DATA:
        return text.substr(1, text.size() - 2);
    default:
        return text;
    }
}

scpi_result_t SCPI_ReadStringParameter(scpi_t* context, ScpiString* text) {
    const std::optional<std::string_view> raw =
        ScpiReaders_raw(context, SCPI_ERROR_PARAMETER_ERROR);
    if (!raw) {
        return SCPI_RES_ERR;
    }
    const size_t length = raw->copy(text->data(), text->size() - 1);
    (*text)[length] = '\0';
    (*text)[strcspn(text->data(), ", \r\n")] = '\0';
    convertScpiStringToUpperCase(text->data());
    return SCPI_RES_OK;
}

bool stringIsFloat(const char* text, double* value) {
    // What strtod knows beyond decimal numbers is none here: NAN, INF, 0X10.
    if (text[strspn(text, "+-.0123456789")] != '\0' &&
        strchr("eE \t\v\f", text[strspn(text, "+-.0123456789")]) == nullptr) {
        return false;
    }
    char* end = nullptr;
    *value = Numbers_toDouble(text, &end);
    if (end == text || !std::isfinite(*value)) {
        return false;
    }
    return end[strspn(end, " \t\r\n\v\f")] == '\0';
}

std::optional<bool> SCPI_ReadBooleanParameter(scpi_t* context) {
    ScpiString text;
    double number = 0;
    if (SCPI_ReadStringParameter(context, &text) != SCPI_RES_OK) {
        return {};
    }
    if (strcmp(text.data(), "ON") == 0) {
        return true;
    }
    if (strcmp(text.data(), "OFF") == 0) {
        return false;
    }
    if (!stringIsFloat(text.data(), &number)) {
        SCPI_ErrorPush(context, SCPI_ERROR_PARAMETER_ERROR);
        return {};
    }
    if (number < 0) {
        pushCustomScpiError(context, scpiErrorState);
        return {};
    }
    return std::round(number) != 0;
}

std::optional<bool> SCPI_ReadGateModelParameter(scpi_t* context) {
    const std::optional<uint8_t> model = readNamed(context, gateModels);
    return model ? std::optional<bool>(*model != 0) : std::nullopt;
}

std::optional<uint8_t> SCPI_ReadSlopeParameter(scpi_t* context) {
    return readNamed(context, slopes);
}

std::optional<float> SCPI_ReadTimeParameter(scpi_t* context) {
    return readScaled(context, [](char* text) { return cutUnit(text, timeRules); });
}

std::optional<float> SCPI_ReadLevelParameter(scpi_t* context) {
    return readScaled(context, [](char* text) { return cutUnit(text, levelRules); });
}

std::optional<float> SCPI_ReadFrequencyParameter(scpi_t* context) {
    return readScaled(context, cutFrequencyUnit);
}
