#ifndef REMOTE_SCPI_TRIGGERED_GATE_H
#define REMOTE_SCPI_TRIGGERED_GATE_H

#include "scpi/scpi.h"

#include <cstddef>
#include <string_view>

/// Which triggered gate, 0 to 3, the received line names.
size_t getTiggeredGateIndex(const scpi_t* context);

/// The same for a line in upper case: of its pieces between colons and question marks, the first
/// that holds "STAT" and a digit from 1 to 4 decides, a 1 before a 2 and so on; 0 without any.
size_t ScpiTriggeredGate_indexOf(std::string_view line);

#endif
