#ifndef FLEET_TOOL_SERVICE_COMMAND_H
#define FLEET_TOOL_SERVICE_COMMAND_H

#include <string>

struct ServiceOptions {
    std::string file;
    bool isCheck = false;
};

/// Reads the configuration file and, unless that is all that is wanted, runs the service. Returns
/// the exit status, 2 for a wrong file.
int ServiceCommand_run(const ServiceOptions& options);

#endif
