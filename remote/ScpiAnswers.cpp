#include "ScpiAnswers.h"

#include <cmath>

float ScpiAnswers_rounded(float value) {
    constexpr float places = 10000000.0F;
    const float scaled = value * places;
    // Beyond float's range there is nothing to round.
    return std::isinf(scaled) ? value : std::round(scaled) / places;
}

scpi_result_t ScpiAnswers_number(scpi_t* context, float value) {
    SCPI_ResultDouble(context, static_cast<double>(ScpiAnswers_rounded(value)));
    return SCPI_RES_OK;
}

scpi_result_t ScpiAnswers_integer(scpi_t* context, int32_t value) {
    SCPI_ResultInt32(context, value);
    return SCPI_RES_OK;
}

scpi_result_t ScpiAnswers_text(scpi_t* context, const char* text) {
    SCPI_ResultMnemonic(context, text);
    return SCPI_RES_OK;
}
