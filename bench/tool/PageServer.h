#ifndef BENCH_TOOL_PAGE_SERVER_H
#define BENCH_TOOL_PAGE_SERVER_H

#include "ReservedPort.h"

#include <poll.h>
#include <string>
#include <vector>

/// Serves the page in which a web browser shows the meter: it names it, and fits the screen of
/// GTK's own server into the browser's window. One page on the loopback interface; never blocks.

struct PageClient {
    int fd;
    std::string request; ///< received so far
};

struct PageServer {
    ReservedPort port{};
    int listener = -1;
    std::string page;
    std::vector<PageClient> clients{};
};

/// Serves the page for a screen at this address, on the first free port at or above `first`. False
/// when there is none.
bool PageServer_open(PageServer& server, int first, const std::string& screenAddress);
void PageServer_close(PageServer& server);

void PageServer_collect(const PageServer& server, std::vector<pollfd>& waiting);

/// Answers who has asked.
void PageServer_service(PageServer& server);

#endif
