#ifndef FLEET_TOOL_FLEET_OPTIONS_H
#define FLEET_TOOL_FLEET_OPTIONS_H

#include "DiscoverCommand.h"
#include "LogCommand.h"
#include "ServiceCommand.h"

#include <optional>

/// The command line.

enum class FleetCommand { discover, log, run };

struct FleetOptions {
    FleetCommand command = FleetCommand::log;
    DiscoverOptions discover;
    LogOptions log;
    ServiceOptions service;
};

constexpr int fleetStatusUsage = 2;

/// Reads the command line. Nothing if the program is to end at once, with this exit status: what
/// was wrong is on the standard error, what was asked for on the standard output.
std::optional<FleetOptions> FleetOptions_parse(int argc, const char* const* argv, int& status);

#endif
