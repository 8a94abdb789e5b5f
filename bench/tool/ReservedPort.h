#ifndef BENCH_TOOL_RESERVED_PORT_H
#define BENCH_TOOL_RESERVED_PORT_H

#include <netinet/in.h>

/// A TCP port of the loopback interface for a program that is about to be started.
///
/// A port is found free before the program listens on it. Meanwhile the kernel would give it to any
/// other bench that looks for one, so each bench holds a name for the ports that it has chosen.

struct ReservedPort {
    int number = 0; ///< 0: none
    int keeper = -1;
};

/// Takes a port at or above `first` that is free and that no other bench has taken; 0 takes any.
/// False when there is none.
bool ReservedPort_take(ReservedPort& port, int first);

/// A port of the loopback interface, as sockets name it.
sockaddr_in ReservedPort_address(int number);

void ReservedPort_release(ReservedPort& port);

#endif
