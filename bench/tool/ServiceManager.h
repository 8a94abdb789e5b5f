#ifndef BENCH_TOOL_SERVICE_MANAGER_H
#define BENCH_TOOL_SERVICE_MANAGER_H

#include "ChildProcess.h"

#include <cstdint>
#include <poll.h>
#include <string>
#include <sys/types.h>
#include <vector>

/// Plays the system's service manager as the unit asks for it: a program that has come up and then
/// gives no sign of life for ten seconds is ended, to be started again.

struct ServiceManager {
    int socket;       ///< -1: the program has no manager
    bool isArmed;     ///< the program has told that it has come up
    bool isAborting;  ///< it has been told to end
    int64_t limit_ns; ///< until when it gives a sign of life, or has ended; on the bench's clock
};

/// Listens in the world. False with errno.
bool ServiceManager_open(ServiceManager& manager, const std::string& world);
void ServiceManager_close(ServiceManager& manager);

/// What the program finds in its environment; nothing without a manager.
std::vector<ChildEnvironment> ServiceManager_environment(const ServiceManager& manager,
                                                         const std::string& world);

/// A program begins: nothing is known of it.
void ServiceManager_begin(ServiceManager& manager);

void ServiceManager_collect(const ServiceManager& manager, std::vector<pollfd>& waiting);

/// Hears the program, and the signal that it is to be sent now: SIGABRT when its time is over,
/// SIGKILL when it has not ended then, 0 for none.
int ServiceManager_service(ServiceManager& manager, int64_t now_ns);

#endif
