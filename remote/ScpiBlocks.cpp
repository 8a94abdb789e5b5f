#include "ScpiBlocks.h"

#include "ScpiErrors.h"
#include "ScpiLink.h"

#include <termios.h>

namespace {

/// A socket, which is no terminal, carries bytes as they are.
bool cutsBytes(const ScpiLink* link) {
    termios settings{};
    return link->descriptor != nullptr && tcgetattr(*link->descriptor, &settings) == 0 &&
           (settings.c_cflag & CSIZE) != CS8;
}

} // namespace

scpi_result_t ScpiBlocks_check(scpi_t* context) {
    if (cutsBytes(static_cast<const ScpiLink*>(context->user_context))) {
        pushCustomScpiErrorWithMsg(context, SCPI_ERROR_SETTINGS_CONFLICT,
                                   "A block needs 8 data bits");
        return SCPI_RES_ERR;
    }
    return SCPI_RES_OK;
}
