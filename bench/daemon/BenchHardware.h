#ifndef BENCH_DAEMON_BENCH_HARDWARE_H
#define BENCH_DAEMON_BENCH_HARDWARE_H

#include "BenchClock.h"
#include "Cable.h"
#include "Machine.h"
#include "SerialPortPlayer.h"
#include "Supply.h"
#include "Terminal.h"
#include "UsbPortPlayer.h"

#include <array>
#include <poll.h>
#include <string>
#include <vector>

/// The instrument's hardware as the bench plays it: ports, supply and the command port's cable.

struct BenchHardware {
    std::string world;
    BenchClock* clock; ///< the world's
    std::array<SerialPortPlayer, 2> serial;
    std::array<UsbPortPlayer, 2> usb;
    Supply supply;
    Machine machine;
    Terminal commandPort; ///< the instrument's "/dev/ttyS4"
    Terminal commandPeer; ///< the other end of its cable, "command-port" in the world
    Cable replies;        ///< from the instrument to that end
    Cable commands;       ///< and back
    bool isToldToEnd;     ///< the whole bench, by its user
};

/// Bench monotonic time: it runs at the world's speed.
int64_t BenchHardware_now_ns(const BenchHardware& hardware);

/// Opens everything in an existing world. On failure says what failed.
bool BenchHardware_open(BenchHardware& hardware, const std::string& world, std::string& error);
void BenchHardware_close(BenchHardware& hardware);

/// Descriptors to wait for, and how long at most: a real time, negative for ever.
void BenchHardware_collect(const BenchHardware& hardware, std::vector<pollfd>& waiting);
int64_t BenchHardware_wait_ns(const BenchHardware& hardware);

/// Does all that is due.
void BenchHardware_service(BenchHardware& hardware);

#endif
