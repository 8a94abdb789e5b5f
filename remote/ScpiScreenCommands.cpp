// What the screen shows.
#include "ScpiScreenCommands.h"

#include "ScpiBlocks.h"
#include "ScpiCallback.h"
#include "ScpiErrors.h"

namespace {

ScpiPicture (*camera)() = nullptr;

ScpiPicture takePicture() {
    return camera == nullptr ? ScpiPicture{ScpiPictureOutcome::noScreen} : camera();
}

int16_t errorOf(ScpiPictureOutcome outcome) {
    switch (outcome) {
    case ScpiPictureOutcome::noScreen:
        return SCPI_ERROR_HARDWARE_MISSING;
    case ScpiPictureOutcome::noMemory:
        return SCPI_ERROR_OUT_OF_MEMORY_FOR_REQ_OP;
    default:
        return SCPI_ERROR_HARDWARE_ERROR;
    }
}

scpi_result_t SCPI_HcopyDataQ(scpi_t* context) {
    if (ScpiBlocks_check(context) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    const ScpiPicture picture = takePicture();
    if (picture.outcome != ScpiPictureOutcome::taken) {
        return ScpiErrors_refuse(context, errorOf(picture.outcome));
    }
    SCPI_ResultArbitraryBlock(context, picture.png.get(), picture.size);
    return SCPI_RES_OK;
}

constexpr scpi_command_t rows[] = {
    {"HCOPy:SDUMp:DATA?", SCPI_HcopyDataQ, 0},
};

} // namespace

void ScpiScreenCommands_registerCamera(ScpiPicture (*take)()) {
    camera = take;
}

constinit const std::span<const scpi_command_t> scpiScreenCommands = rows;
