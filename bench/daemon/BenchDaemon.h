#ifndef BENCH_DAEMON_BENCH_DAEMON_H
#define BENCH_DAEMON_BENCH_DAEMON_H

#include "BenchClock.h"
#include "SerialPortPlayer.h"
#include "Supply.h"
#include "Terminal.h"
#include "UsbPortPlayer.h"

#include <array>
#include <poll.h>
#include <string>
#include <vector>

/// Plays the instrument's hardware: one thread, one poll loop, no locks. Commands arrive as lines
/// on the world's "daemon.sock"; the answer begins with "ok" or "error TEXT" and ends the
/// connection.

struct CommandClient {
    int fd;
    std::string line; ///< received so far
};

struct BenchDaemon {
    std::string world;
    BenchClock* clock; ///< the world's
    int listener;
    std::vector<CommandClient> clients;
    std::array<SerialPortPlayer, 2> serial;
    std::array<UsbPortPlayer, 2> usb;
    Supply supply;
    Terminal commandPort; ///< the instrument's "/dev/ttyS4"
    Terminal commandPeer; ///< the other end of its cable, "command-port" in the world
};

/// Bench monotonic time: it runs at the world's speed.
int64_t BenchDaemon_now_ns(const BenchDaemon& daemon);

/// Opens everything in an existing world. On failure says what failed.
bool BenchDaemon_open(BenchDaemon& daemon, const std::string& world, std::string& error);
void BenchDaemon_close(BenchDaemon& daemon);

/// Descriptors to wait for, and how long at most: a real time, negative for ever.
void BenchDaemon_collect(const BenchDaemon& daemon, std::vector<pollfd>& waiting);
int64_t BenchDaemon_wait_ns(const BenchDaemon& daemon);

/// Does all that is due.
void BenchDaemon_service(BenchDaemon& daemon);

#endif
