#ifndef REMOTE_SCPI_COMMANDS_H
#define REMOTE_SCPI_COMMANDS_H

#include "scpi/scpi.h"

#include <cstddef>

/// The command set: the rows that both links search from the first on, with the row that ends them.

constexpr size_t scpiCommandCount = 156;
extern const scpi_command_t scpi_commands[scpiCommandCount + 1];

#endif
