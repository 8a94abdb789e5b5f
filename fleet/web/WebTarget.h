#ifndef FLEET_WEB_WEB_TARGET_H
#define FLEET_WEB_WEB_TARGET_H

#include "FleetHistory.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What an HTTP request asks for: "/api/meters/90000001?from=1h", taken to pieces.

struct WebTarget {
    std::vector<std::string> path; ///< what stands between the slashes, decoded
    std::vector<std::pair<std::string, std::string>> parameters;
};

/// Nothing if it is none, or if a decoded text is no UTF-8 or holds control characters.
std::optional<WebTarget> WebTarget_parse(std::string_view text);

/// Parameters of a query for readings: channel, from, to, step. Times are UTC, or how long ago;
/// without them it is the last hour. False with the reason.
bool WebTarget_readReadings(const WebTarget& target, int64_t now_ms, HistoryQuery& query,
                            std::string& error);

/// Parameters of a query for events: meter, from, to, limit; without them the last 100 of the last
/// 30 days. False with the reason.
bool WebTarget_readEvents(const WebTarget& target, int64_t now_ms, HistoryQuery& query,
                          std::string& error);

#endif
