// quorvel-fleet: logs and watches many meters.

#include "FleetOptions.h"

int main(int argc, char** argv) {
    int status = 0;
    const std::optional<FleetOptions> options = FleetOptions_parse(argc, argv, status);
    if (!options) {
        return status;
    }
    return LogCommand_run(options->log);
}
