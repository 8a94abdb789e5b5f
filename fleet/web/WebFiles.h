#ifndef FLEET_WEB_WEB_FILES_H
#define FLEET_WEB_WEB_FILES_H

#include "WebServer.h"

#include <map>
#include <string>

/// The files of the page, by the names under which browsers ask for them; read once, at start-up.
using WebFiles = std::map<std::string, WebAnswer>;

/// Those that lie beside this program, in ../share/quorvel-fleet/web, and the chart library, where
/// Debian has it. A file that is not there is left out.
WebFiles WebFiles_read();

#endif
