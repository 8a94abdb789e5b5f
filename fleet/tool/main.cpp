// quorvel-fleet: logs and watches many meters.

#include "FleetOptions.h"

int main(int argc, char** argv) {
    int status = 0;
    const std::optional<FleetOptions> options = FleetOptions_parse(argc, argv, status);
    if (!options) {
        return status;
    }
    switch (options->command) {
    case FleetCommand::discover:
        return DiscoverCommand_run(options->discover);
    case FleetCommand::log:
        return LogCommand_run(options->log);
    case FleetCommand::run:
        break;
    }
    return ServiceCommand_run(options->service);
}
