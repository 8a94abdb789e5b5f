#include "ServiceCommand.h"

#include "FleetService.h"

#include <cstdio>

namespace {

constexpr int statusWrongFile = 2;

int fail(int status, const std::string& why) {
    fprintf(stderr, "quorvel-fleet: %s\n", why.c_str());
    return status;
}

} // namespace

int ServiceCommand_run(const ServiceOptions& options) {
    FleetConfig config;
    std::string error;
    if (!FleetConfig_read(options.file, config, error)) {
        return fail(statusWrongFile, error);
    }
    if (options.isCheck) {
        printf("%s: nothing is wrong\n", options.file.c_str());
        return 0;
    }
    if (config.meters.empty() && !config.discovers) {
        return fail(1, options.file + " names no meter, and discover is false");
    }
    return FleetService_run(config);
}
