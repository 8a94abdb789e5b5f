#include "ScpiAnswers.h"

#include <cmath>

float scpi_rounded(float value) {
    constexpr float places = 10000000.0F;
    const float scaled = value * places;
    // Beyond float's range there is nothing to round.
    return std::isinf(scaled) ? value : std::round(scaled) / places;
}

scpi_result_t scpi_answerNumber(scpi_t* context, float value) {
    SCPI_ResultDouble(context, static_cast<double>(scpi_rounded(value)));
    return SCPI_RES_OK;
}

scpi_result_t scpi_answerInteger(scpi_t* context, int32_t value) {
    SCPI_ResultInt32(context, value);
    return SCPI_RES_OK;
}

scpi_result_t scpi_answerText(scpi_t* context, const char* text) {
    SCPI_ResultMnemonic(context, text);
    return SCPI_RES_OK;
}
