#include "CrowdMeter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr const char* manufacturer = "QUORVEL-TECHNOLOGIES";
constexpr double frequency_MHz = 13.56;
constexpr double temperature_C = 36.5;
constexpr size_t firstSerial = 90000000;

CrowdMeter& meterOf(scpi_t* context) {
    return *static_cast<CrowdMeter*>(context->user_context);
}

size_t writeReply(scpi_t* context, const char* data, size_t length) {
    meterOf(context).replies.append(data, length);
    return length;
}

scpi_result_t flushNothing(scpi_t*) {
    return SCPI_RES_OK;
}

scpi_result_t refuse(scpi_t* context, const char* why) {
    // The library copies the text but does not say so.
    SCPI_ErrorPushEx(context, SCPI_ERROR_PARAMETER_ERROR, const_cast<char*>(why), 0);
    return SCPI_RES_ERR;
}

/// The channel that is the only parameter, 1 if it is left out; 0 where the query is refused.
size_t readChannel(scpi_t* context) {
    int32_t channel = 1;
    if (!SCPI_ParamInt32(context, &channel, FALSE) && SCPI_ParamErrorOccurred(context)) {
        return 0;
    }
    if (channel != 1 && channel != 2) {
        refuse(context, "The channel number is not valid");
        return 0;
    }
    if (static_cast<size_t>(channel) > meterOf(context).channels) {
        refuse(context, "No sensor connected on the channel");
        return 0;
    }
    return static_cast<size_t>(channel);
}

template <typename Value> scpi_result_t answer(scpi_t* context, Value value) {
    const size_t channel = readChannel(context);
    if (channel == 0) {
        return SCPI_RES_ERR;
    }
    const CrowdMeter& meter = meterOf(context);
    SCPI_ResultDouble(context, meter.hasReadings ? value(meter, channel)
                                                 : std::numeric_limits<double>::quiet_NaN());
    return SCPI_RES_OK;
}

scpi_result_t answerForward(scpi_t* context) {
    return answer(context, [](const CrowdMeter& meter, size_t channel) {
        return CrowdMeter_forward_W(meter.number, channel, meter.now_ns);
    });
}

scpi_result_t answerReflected(scpi_t* context) {
    return answer(context, [](const CrowdMeter& meter, size_t channel) {
        return CrowdMeter_reflected_W(meter.number, channel, meter.now_ns);
    });
}

scpi_result_t answerFrequency(scpi_t* context) {
    return answer(context, [](const CrowdMeter&, size_t) { return frequency_MHz; });
}

scpi_result_t answerTemperature(scpi_t* context) {
    return answer(context, [](const CrowdMeter&, size_t) { return temperature_C; });
}

scpi_result_t answerSensor(scpi_t* context) {
    if (readChannel(context) == 0) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultMnemonic(context, meterOf(context).sensor.c_str());
    return SCPI_RES_OK;
}

scpi_result_t answerSensorSerial(scpi_t* context) {
    const size_t channel = readChannel(context);
    if (channel == 0) {
        return SCPI_RES_ERR;
    }
    const std::string serial = std::to_string(meterOf(context).number * 10 + channel);
    SCPI_ResultMnemonic(context, serial.c_str());
    return SCPI_RES_OK;
}

scpi_result_t answerIdentity(scpi_t* context) {
    const std::string serial = CrowdMeter_serial(meterOf(context).number);
    for (const char* field : {manufacturer, "8830K", serial.c_str(), "crowd"}) {
        SCPI_ResultMnemonic(context, field);
    }
    return SCPI_RES_OK;
}

constexpr scpi_command_t commands[] = {
    {"*IDN?", answerIdentity, 0},
    {"*OPC?", SCPI_CoreOpcQ, 0},
    {"SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ, 0},
    {"SYSTem:ERRor:COUNt?", SCPI_SystemErrorCountQ, 0},
    {"SYSTem:IDENtity:SENSor[:MODel]?", answerSensor, 0},
    {"SYSTem:IDENtity:SENSor:SN?", answerSensorSerial, 0},
    {"MEASure[:SCALar]:TEMPerature?", answerTemperature, 0},
    {"MEASure[:SCALar][:POWer]:FREQuency?", answerFrequency, 0},
    {"MEASure[:SCALar][:POWer][:FORWard]:AVERage?", answerForward, 0},
    {"MEASure[:SCALar][:POWer]:REFLected:AVERage?", answerReflected, 0},
    SCPI_CMD_LIST_END,
};

constexpr double second_ns = 1e9;
constexpr double fullTurn = 6.283185307179586;

/// To a tenth of a microwatt: both ends write the same digits, and hardly any reading is the one
/// before again, even where the signal turns.
double rounded(double power_W) {
    return std::round(power_W * 1e7) / 1e7;
}

} // namespace

void CrowdMeter_initialize(CrowdMeter& meter) {
    static scpi_interface_t callbacks = {nullptr, writeReply, nullptr, flushNothing, nullptr};
    SCPI_Init(&meter.context, commands, &callbacks, scpi_units_def, manufacturer, nullptr, nullptr,
              nullptr, meter.input.data(), meter.input.size(), meter.errors.data(),
              static_cast<int16_t>(meter.errors.size()));
    meter.context.user_context = &meter;
}

void CrowdMeter_receive(CrowdMeter& meter, std::string_view bytes, int64_t now_ns) {
    meter.now_ns = now_ns;
    while (!bytes.empty()) {
        // One line at a time always fits the library's buffer, unless it is too long in any case.
        const size_t length =
            std::min({bytes.find('\n'), bytes.size() - 1, meter.input.size() / 2}) + 1;
        SCPI_Input(&meter.context, bytes.data(), static_cast<int>(length));
        bytes.remove_prefix(length);
    }
}

void CrowdMeter_forgetInput(CrowdMeter& meter) {
    meter.context.buffer.position = 0;
}

double CrowdMeter_forward_W(size_t number, size_t channel, int64_t now_ns) {
    const double period_s = 10 + static_cast<double>(number % 7);
    const double turns = static_cast<double>(now_ns) / second_ns / period_s;
    const double mean_W = static_cast<double>(number % 100 + 10 * channel);
    return rounded(mean_W * (1 + 0.1 * std::sin((turns - std::floor(turns)) * fullTurn)));
}

double CrowdMeter_reflected_W(size_t number, size_t channel, int64_t now_ns) {
    return rounded(CrowdMeter_forward_W(number, channel, now_ns) / 100);
}

std::string CrowdMeter_serial(size_t number) {
    return std::to_string(firstSerial + number);
}
