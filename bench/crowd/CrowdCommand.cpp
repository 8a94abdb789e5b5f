#include "CrowdCommand.h"

#include "CrowdServer.h"

#include <csignal>
#include <cstdio>

namespace {

constexpr int servePause_ms = 200;

volatile sig_atomic_t isEnded = 0;

void noteEnd(int) {
    isEnded = 1;
}

void catchEnd() {
    struct sigaction action {};
    action.sa_handler = noteEnd;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace

bool CrowdCommand_run(const std::vector<std::string>& words, std::string& error) {
    CrowdOptions options;
    if (!CrowdOptions_parse(words, options, error)) {
        return false;
    }
    catchEnd();
    CrowdServer server;
    bool isWell = CrowdServer_open(server, options, error);
    if (isWell) {
        printf("%zu meters from %s:%u on; Ctrl-C ends them\n", options.count,
               CrowdOptions_address(options.base).c_str(), options.port);
        fflush(stdout);
    }
    while (isWell && isEnded == 0) {
        isWell = CrowdServer_serve(server, servePause_ms, error);
    }
    CrowdServer_close(server);
    return isWell;
}
