#ifndef BENCH_DAEMON_CABLE_H
#define BENCH_DAEMON_CABLE_H

#include "Terminal.h"

#include <cstdint>
#include <poll.h>
#include <string>
#include <vector>

/// One direction of a cable between two terminals. The bytes come faster than on a real one, so
/// that a receiver is waited for; one that takes nothing for 5 s does not listen, and loses what it
/// has no room for.

struct Cable {
    std::string rest{};   ///< read, but not taken yet
    int64_t since_ns = 0; ///< the latest time that something was taken
    bool isDeaf = false;  ///< nobody listens
};

/// What to wait for, and until when, in bench time, at the latest.
void Cable_collect(const Cable& cable, const Terminal& from, const Terminal& to,
                   std::vector<pollfd>& waiting);
int64_t Cable_nextDue_ns(const Cable& cable);

/// Carries what there is, as far as the receiver has room.
void Cable_carry(Cable& cable, const Terminal& from, const Terminal& to, int64_t now_ns);

#endif
