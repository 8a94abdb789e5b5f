#ifndef FLEET_TOOL_DISCOVER_COMMAND_H
#define FLEET_TOOL_DISCOVER_COMMAND_H

struct DiscoverOptions {
    bool isJson = false;
};

/// Prints the meters that are announced on the network, with what each tells of itself. Returns the
/// exit status.
int DiscoverCommand_run(const DiscoverOptions& options);

#endif
