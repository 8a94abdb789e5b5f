#ifndef BENCH_TOOL_SCREEN_SERVER_H
#define BENCH_TOOL_SCREEN_SERVER_H

#include "PageServer.h"
#include "ReservedPort.h"

#include <string>
#include <sys/types.h>

/// The screen that the program is given: a virtual X server, or GTK's own server for web browsers.

struct ScreenServer {
    pid_t process = 0;
    std::string display; ///< ":99"
    std::string address; ///< where a browser finds it, empty for X
    ReservedPort port{};
    PageServer page{}; ///< at that address; its owner turns it
};

/// Starts a virtual X server of the instrument's size on a free display. False with the reason.
bool ScreenServer_startVirtual(ScreenServer& server, std::string& error);

/// Starts the browser server on free ports of this machine, for this machine only.
bool ScreenServer_startBrowser(ScreenServer& server, std::string& error);

void ScreenServer_stop(ScreenServer& server);

#endif
