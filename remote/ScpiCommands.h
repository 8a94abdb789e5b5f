#ifndef REMOTE_SCPI_COMMANDS_H
#define REMOTE_SCPI_COMMANDS_H

#include "scpi/scpi.h"

#include <cstddef>
#include <vector>

/// The command set: the rows that both links search from the first on, with the row that ends them.
/// Put together before main, and never taken apart: the links' threads still run while the program
/// ends.
extern const std::vector<scpi_command_t>& scpi_commands;

/// The rows without the one that ends them.
inline size_t ScpiCommands_count() {
    return scpi_commands.size() - 1;
}

#endif
