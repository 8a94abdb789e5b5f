#include "MeasurementText.h"

#include "CSensorDisplayNames.h"
#include "SensorPortHandler.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>

// Stays so: indices 3/4 and 7/8 repeat, since the change of unit keeps the ceiling; existing test
// programs know it so (docs/compatibility.md: same-ceilings).
const std::array<float, rangeCount> maxScalePowerList = {
    0.0019999491F, 0.019999489F, 0.19999491F, 1.999949F, 1.999949F, 19.99949F,
    199.9949F,     1999.949F,    1999.949F,   19999.49F, 199994.9F};

namespace {

constexpr float autoScaleLimit_W = 199994.9F;
constexpr double sensorLimitFactor = 1.2;
constexpr double dBmLimit = 60.0;

constexpr char dBmFormat[] = " % 6.2f";
constexpr char dBmUnit[] = "dBm";

constexpr uint32_t modelTextLimit = 19;
constexpr uint32_t serialTextLimit = 9;
constexpr uint32_t labelTextLimit = 63;

constexpr uint64_t silenceLimit_ms = 3000;
constexpr uint64_t slowSilenceLimit_ms = 6000;
constexpr uint64_t mostSeconds = 99;
constexpr uint64_t second_ms = 1000;
constexpr uint64_t secondsPerMinute = 60;

const DISPLAY_RANGE_FORMAT& powerRange(uint32_t scaleIndex) {
    return rangeFormats[std::min<uint32_t>(scaleIndex, rangeCount - 1)];
}

bool isOverLimit(float power_W, float sensorMaxPower_W, rfPowerScale scale, rfPowerType type) {
    return power_W >= MeasurementText_maxPowerForRange(sensorMaxPower_W, scale, type);
}

/// Writes power x multiplier in a range's format. The product is a 32-bit one, as the limits are.
void writeScaled(char (&text)[valueTextSize], float value, const DISPLAY_RANGE_FORMAT& range) {
    const float shown = value * range.multiplier;
    std::snprintf(text, sizeof text, range.formatString, static_cast<double>(shown));
}

void writeOverRange(char (&text)[valueTextSize]) {
    std::snprintf(text, sizeof text, "%7s", "Range");
}

template <size_t size> void copyText(char (&target)[size], const char* text) {
    std::snprintf(target, size, "%s", text);
}

double dBmOf(float power_W) {
    return 10.0 * std::log10(static_cast<double>(power_W) * 1000.0);
}

/// Moves an automatic scale to the range of a power; true when it has changed. A missing power
/// moves nothing.
bool updateAutoScale(rfPowerScale& scale, float power_W) {
    if (!scale.autoScale || std::isnan(power_W)) {
        return false;
    }
    const uint32_t before = scale.scaleIndex;
    scale.scaleIndex = findNewRange(power_W, before);
    return scale.scaleIndex != before;
}

/// One power of a group, in the group's range as it stands; nothing for a missing one.
void writeCell(PowerCellText& cell, float power_W, float sensorMaxPower_W, rfPowerScale scale,
               rfPowerType type) {
    if (std::isnan(power_W)) {
        return;
    }
    cell.isOverRange = isOverLimit(power_W, sensorMaxPower_W, scale, type);
    if (cell.isOverRange) {
        writeOverRange(cell.value);
    } else if (type == rfPower_dBm) {
        std::snprintf(cell.value, sizeof cell.value, dBmFormat,
                      static_cast<double>(convertTodBm(power_W)));
    } else {
        writeScaled(cell.value, power_W, powerRange(scale.scaleIndex));
    }
}

ValueText inRange(float value, const DISPLAY_RANGE_FORMAT& range) {
    ValueText text = {};
    if (!std::isnan(value)) {
        writeScaled(text.value, value, range);
        copyText(text.unit, range.displayLabel);
    }
    return text;
}

/// Ratio of the reflected to the incident voltage.
float reflectionCoefficient(float fwd_W, float rfl_W) {
    return rfl_W >= fwd_W ? 1.0F : std::sqrt(rfl_W / fwd_W);
}

void makePrintable(std::span<char> text) {
    for (char& character : text) {
        if (character == '\0') {
            return;
        }
        if (character < ' ' || character > '~') {
            character = '?';
        }
    }
}

/// The model, or the family of the port for a sensor that has not told it.
const char* modelOrFamily(uint32_t port, const char* model) {
    if (model[0] != '\0') {
        return model;
    }
    return SensorPort_isUsb(port) ? "316x" : "513x";
}

/// "model: serial number", the model cut so that the serial number is always whole.
void writeIdentity(std::span<char> text, uint32_t port, const char* model, const char* serial,
                   uint32_t maxLength) {
    const auto serialLength = static_cast<uint32_t>(strnlen(serial, serialTextLimit));
    // Room for the colon and the blank between the two, and one character to spare.
    const uint32_t reserved = serialLength + 3;
    const uint32_t modelLength =
        maxLength > reserved ? std::min(maxLength - reserved, modelTextLimit) : 0;
    std::snprintf(text.data(), text.size(), "%.*s: %.*s", static_cast<int>(modelLength),
                  modelOrFamily(port, model), static_cast<int>(serialLength), serial);
    makePrintable(text);
}

} // namespace

float MeasurementText_maxPowerForRange(float sensorMaxPower_W, rfPowerScale scale,
                                       rfPowerType powerType) {
    const auto sensorLimit =
        static_cast<float>(static_cast<double>(sensorMaxPower_W) * sensorLimitFactor);
    if (powerType == rfPower_dBm) {
        return sensorLimit;
    }
    const uint32_t row = std::min<uint32_t>(scale.scaleIndex, rangeCount - 1);
    const float scaleLimit = scale.autoScale ? autoScaleLimit_W : maxScalePowerList[row];
    return scaleLimit < sensorLimit ? scaleLimit : sensorLimit;
}

float gtkPowerDisplay_getMaxPowerForRange(uint32_t sensorChannel, rfPowerScale scale,
                                          rfPowerType powerType) {
    return MeasurementText_maxPowerForRange(sensorPortHandler_getSensorMaxPower(sensorChannel),
                                            scale, powerType);
}

bool gtkPowerDisplay_isOverRange(float power_W, uint32_t sensorChannel, rfPowerScale scale,
                                 rfPowerType powerType) {
    return power_W >= gtkPowerDisplay_getMaxPowerForRange(sensorChannel, scale, powerType);
}

float convertTodBm(float power_W) {
    if (std::fabs(power_W) > FLT_MAX) {
        return static_cast<float>(power_W > 0.0F ? dBmLimit : -dBmLimit);
    }
    if (power_W < 0.0F) { // noise around zero, which has no logarithm
        return static_cast<float>(-dBmLimit);
    }
    return static_cast<float>(std::clamp(dBmOf(power_W), -dBmLimit, dBmLimit));
}

PowerLineText MeasurementText_powerLine(float power_W, float sensorMaxPower_W, rfPowerScale scale,
                                        rfPowerType powerType) {
    PowerLineText line = {};
    line.scaleVisible = powerType != rfPower_dBm;
    line.isOverRange = isOverLimit(power_W, sensorMaxPower_W, scale, powerType);
    if (line.isOverRange) {
        writeOverRange(line.value);
    } else if (powerType == rfPower_dBm) {
        std::snprintf(line.value, sizeof line.value, dBmFormat, dBmOf(power_W));
    } else {
        line.scaleChanged = updateAutoScale(scale, power_W);
        writeScaled(line.value, power_W, powerRange(scale.scaleIndex));
    }
    line.scale = scale;
    copyText(line.unit, line.scaleVisible ? powerRange(scale.scaleIndex).displayLabel : dBmUnit);
    return line;
}

MatchText MeasurementText_match(float fwd_W, float rfl_W, rfMatchType_t matchType) {
    MatchText text = {};
    const float rho = reflectionCoefficient(fwd_W, rfl_W);
    if (matchType == rfMatch_RL) {
        const float returnLoss_dB = rho <= 0.00001F ? -99.99F : 20.0F * std::log10(rho);
        copyText(text.caption, "RL:");
        std::snprintf(text.value, sizeof text.value, "% 7.2f", static_cast<double>(returnLoss_dB));
        copyText(text.unit, "dB");
    } else if (matchType == rfMatch_RflCoeff) {
        copyText(text.caption, "RHO:");
        std::snprintf(text.value, sizeof text.value, "% 7.3f", static_cast<double>(rho));
    } else {
        const float vswr = rho >= 0.99F ? 199.0F : (1.0F + rho) / (1.0F - rho);
        copyText(text.caption, "VSWR:");
        std::snprintf(text.value, sizeof text.value, "% 7.2f", static_cast<double>(vswr));
    }
    return text;
}

PowerGroupText MeasurementText_powerGroup(float mean_W, float max_W, float min_W,
                                          float sensorMaxPower_W, rfPowerScale scale,
                                          rfPowerType powerType) {
    PowerGroupText group = {};
    group.scaleVisible = powerType != rfPower_dBm;
    if (group.scaleVisible && !isOverLimit(mean_W, sensorMaxPower_W, scale, powerType)) {
        group.scaleChanged = updateAutoScale(scale, mean_W);
    }
    group.scale = scale;
    writeCell(group.mean, mean_W, sensorMaxPower_W, scale, powerType);
    writeCell(group.max, max_W, sensorMaxPower_W, scale, powerType);
    writeCell(group.min, min_W, sensorMaxPower_W, scale, powerType);
    copyText(group.unit, group.scaleVisible ? powerRange(scale.scaleIndex).displayLabel : dBmUnit);
    return group;
}

ValueText MeasurementText_time(float time_s) {
    return inRange(time_s, timeRangeFormats[findTimeRange(time_s, 0)]);
}

ValueText MeasurementText_frequency(float frequency_Hz) {
    return inRange(frequency_Hz, freqRangeFormats[findFreqRange(frequency_Hz, 0)]);
}

ValueText MeasurementText_dutyCycle(float dutyCycle) {
    ValueText text = {};
    if (!std::isnan(dutyCycle)) {
        std::snprintf(text.value, sizeof text.value, "%.2f", static_cast<double>(dutyCycle));
    }
    return text;
}

SilenceText MeasurementText_silence(const SensorSilence& silence) {
    SilenceText text = {};
    if (silence.time_ms < (silence.answersSlowly ? slowSilenceLimit_ms : silenceLimit_ms)) {
        return text;
    }
    const uint64_t time_s = silence.time_ms / second_ms;
    const bool isShort = time_s <= mostSeconds;
    std::snprintf(text.text, sizeof text.text, "no reading for %llu %s",
                  static_cast<unsigned long long>(isShort ? time_s : time_s / secondsPerMinute),
                  isShort ? "s" : "min");
    return text;
}

void MeasurementText_sensorLabel(uint32_t port, SensorStatus status, const char* model,
                                 const char* serialNumber, uint32_t maxLength,
                                 std::span<char> text) {
    if (text.empty()) {
        return;
    }
    const uint32_t longest = std::min(maxLength, labelTextLimit);
    const std::span<char> room = text.first(std::min<size_t>(text.size(), longest + 1));
    switch (status) {
    case isReady:
        writeIdentity(room, port, model, serialNumber, longest);
        break;
    case hasFatalError:
        std::snprintf(room.data(), room.size(), "%s", "Critical Sensor Error...");
        break;
    default:
        std::snprintf(room.data(), room.size(), "%s", "Connecting...");
        break;
    }
}

SensorNameText MeasurementText_sensorName(uint32_t port, const char* model) {
    SensorNameText name = {};
    std::snprintf(name.text, sizeof name.text, "%.*s on %s", static_cast<int>(modelTextLimit),
                  modelOrFamily(port, model), CSensorDisplayFSM_getSensorPortName(port));
    makePrintable(name.text);
    return name;
}
