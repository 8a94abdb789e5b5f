// The history of a display: the samples of its graph, as they were measured.
#include "ScpiAnswers.h"
#include "ScpiBlocks.h"
#include "ScpiCallback.h"
#include "ScpiErrors.h"
#include "ScpiReaders.h"
#include "SensorDisplays.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

/// The history of the display that shows the channel which the command names; null after an error.
CGraphData* readHistory(scpi_t* context) {
    size_t channel = 0;
    return SCPI_ReadChannelParameter(context, &channel) == SCPI_RES_OK
               ? &sensorDisplays[channel].graphDataPwr
               : nullptr;
}

scpi_result_t SCPI_TraceDataQ(scpi_t* context) {
    CGraphData* history = readHistory(context);
    if (history == nullptr || ScpiBlocks_check(context) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    // A copy: the history goes on, or is cleared, while a client takes its time for the block.
    const size_t room = std::max(CGraphData_getCount(history, RawData), 1U);
    const std::unique_ptr<float, void (*)(void*)> samples(
        static_cast<float*>(calloc(room, sizeof(float))), free);
    if (samples == nullptr) {
        return ScpiErrors_refuse(context, SCPI_ERROR_OUT_OF_MEMORY_FOR_REQ_OP);
    }
    const uint32_t count = CGraphData_copyPowers(history, RawData, 0, {samples.get(), room});
    SCPI_ResultArrayFloat(context, samples.get(), count, SCPI_FORMAT_LITTLEENDIAN);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_TracePointsQ(scpi_t* context) {
    CGraphData* history = readHistory(context);
    if (history == nullptr) {
        return SCPI_RES_ERR;
    }
    const uint32_t count = CGraphData_getCount(history, RawData);
    return ScpiAnswers_integer(context, static_cast<int32_t>(count));
}

constexpr scpi_command_t rows[] = {
    {"TRACe:DATA?", SCPI_TraceDataQ, 0},
    {"TRACe:POINts?", SCPI_TracePointsQ, 0},
};

} // namespace

constinit const std::span<const scpi_command_t> scpiTraceCommands = rows;
