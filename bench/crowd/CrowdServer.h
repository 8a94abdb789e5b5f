#ifndef BENCH_CROWD_CROWD_SERVER_H
#define BENCH_CROWD_CROWD_SERVER_H

#include "CrowdMeter.h"
#include "CrowdOptions.h"

#include <deque>
#include <string>
#include <vector>

/// The sockets of a crowd: one thread, one epoll. Each meter serves one client at a time, as the
/// real one does; the next one waits in its queue.

struct CrowdReply {
    int64_t due_ns;
    size_t meter; ///< index
    uint64_t client;
    std::string bytes;
};

struct CrowdSeat {
    CrowdMeter meter;
    CrowdFault fault = CrowdFault::none;
    bool isFaulty = false; ///< now
    int listener = -1;
    int client = -1;
    uint64_t clients = 0; ///< that have been served
};

struct CrowdServer {
    CrowdOptions options;
    int epoll = -1;
    int64_t start_ns = 0;
    uint32_t random = 1;
    std::deque<CrowdSeat> seats;        ///< they stay where they are
    std::deque<CrowdReply> lateReplies; ///< of slow meters, in the order of their times
};

/// Opens all ports. False with the reason; CrowdServer_close is needed in any case.
bool CrowdServer_open(CrowdServer& server, const CrowdOptions& options, std::string& error);

/// Serves whoever wants something, for at most this time. False with the reason where it cannot go
/// on.
bool CrowdServer_serve(CrowdServer& server, int limit_ms, std::string& error);

void CrowdServer_close(CrowdServer& server);

#endif
