#include "ScpiCommands.h"

#include "ScpiCallback.h"

namespace {

std::vector<scpi_command_t> joined() {
    std::vector<scpi_command_t> commands;
    for (const std::span<const scpi_command_t>& subsystem :
         {scpiCommonCommands, scpiMeasureCommands, scpiPulseCommands, scpiIdentityCommands,
          scpiSerialCommands, scpiLanCommands, scpiPulseModeCommands, scpiScreenCommands,
          scpiTraceCommands}) {
        commands.insert(commands.end(), subsystem.begin(), subsystem.end());
    }
    commands.push_back(SCPI_CMD_LIST_END);
    return commands;
}

} // namespace

const std::vector<scpi_command_t>& scpi_commands = *new std::vector<scpi_command_t>(joined());
