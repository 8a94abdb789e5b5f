#ifndef FLEET_WEB_WEB_SERVER_H
#define FLEET_WEB_WEB_SERVER_H

#include "FleetLoop.h"
#include "MeterAddress.h"
#include "WebTarget.h"

#include <functional>
#include <memory>
#include <string>

/// An HTTP server on the loop that only answers questions. Whatever a client does (says nothing,
/// takes nothing, asks for too much, vanishes) costs no more than its own connection, and that for
/// a limited time and with limited memory.
struct WebServer;

struct WebAnswer {
    unsigned status = 200;
    const char* type = "application/json";
    std::shared_ptr<const std::string> body;
    std::string fileName = {}; ///< to be stored under, "" for what is to be shown
    bool isStream = false;     ///< no body: the client takes events until it hangs up
};

using WebReply = std::function<void(WebAnswer)>;
/// Is given each request; the reply is called once, at any later time, on the loop.
using WebHandler = std::function<void(const WebTarget&, WebReply)>;

/// Listens at an address of this computer ("localhost" or a number). With a
/// token, each request needs it. Nothing, with the reason, if that is not possible.
std::shared_ptr<WebServer> WebServer_start(FleetLoop& loop, const MeterAddress& address,
                                           const std::string& token, WebHandler handler,
                                           std::string& error);

/// As in "http://127.0.0.1:8830/".
std::string WebServer_url(const WebServer& server);

/// Whether anybody takes events.
bool WebServer_hasReaders(const WebServer& server);

/// Sends each reader an event; readers who are too slow for them are dropped.
void WebServer_publish(WebServer& server, const std::shared_ptr<const std::string>& event);

/// Hangs up everywhere.
void WebServer_stop(WebServer& server);

#endif
