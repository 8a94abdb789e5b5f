#ifndef BENCH_DAEMON_BENCH_DAEMON_H
#define BENCH_DAEMON_BENCH_DAEMON_H

#include "BenchHardware.h"

#include <poll.h>
#include <string>
#include <vector>

/// Plays the instrument's hardware and takes commands: one thread, one poll loop, no locks.
/// Commands arrive as lines on the world's "daemon.sock"; the answer begins with "ok" or "error
/// TEXT" and ends the connection.

struct CommandClient {
    int fd;
    std::string line; ///< received so far
};

struct BenchDaemon {
    BenchHardware hardware;
    int listener;
    std::vector<CommandClient> clients;
};

/// Opens everything in an existing world. On failure says what failed.
bool BenchDaemon_open(BenchDaemon& daemon, const std::string& world, std::string& error);
void BenchDaemon_close(BenchDaemon& daemon);

/// Descriptors to wait for, and how long at most: a real time, negative for ever.
void BenchDaemon_collect(const BenchDaemon& daemon, std::vector<pollfd>& waiting);
int64_t BenchDaemon_wait_ns(const BenchDaemon& daemon);

/// Does all that is due.
void BenchDaemon_service(BenchDaemon& daemon);

#endif
