#ifndef REMOTE_SCPI_BLOCKS_H
#define REMOTE_SCPI_BLOCKS_H

#include "scpi/scpi.h"

/// Answers that are no text: definite-length blocks, of any bytes.

/// Makes sure that the link on which the command came can carry a block. A serial line of 7 data
/// bits would cut each byte: -221.
scpi_result_t ScpiBlocks_check(scpi_t* context);

#endif
