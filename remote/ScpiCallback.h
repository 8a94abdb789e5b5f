#ifndef REMOTE_SCPI_CALLBACK_H
#define REMOTE_SCPI_CALLBACK_H

#include "scpi/scpi.h"

#include <span>

/// The command set's subsystems: each of these files holds the handlers of its commands and, behind
/// them, the rows. A handler runs on the thread of the link that received the command.

extern const std::span<const scpi_command_t> scpiCommonCommands;    ///< ScpiCommonCommands.cpp
extern const std::span<const scpi_command_t> scpiMeasureCommands;   ///< ScpiMeasureCommands.cpp
extern const std::span<const scpi_command_t> scpiPulseCommands;     ///< ScpiPulseCommands.cpp
extern const std::span<const scpi_command_t> scpiIdentityCommands;  ///< ScpiIdentityCommands.cpp
extern const std::span<const scpi_command_t> scpiSerialCommands;    ///< ScpiSerialCommands.cpp
extern const std::span<const scpi_command_t> scpiLanCommands;       ///< ScpiLanCommands.cpp
extern const std::span<const scpi_command_t> scpiPulseModeCommands; ///< ScpiPulseModeCommands.cpp
extern const std::span<const scpi_command_t> scpiScreenCommands;    ///< ScpiScreenCommands.cpp
extern const std::span<const scpi_command_t> scpiTraceCommands;     ///< ScpiTraceCommands.cpp

#endif
