#include "WebTarget.h"

#include "FleetText.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace {

constexpr size_t mostPieces = 16; ///< of a path, and parameters
constexpr size_t longestPiece = 256;
constexpr int64_t hour_ms = 3'600'000;
constexpr int64_t month_ms = 30 * (24 * hour_ms);
constexpr int64_t usualEvents = 100;
constexpr int64_t mostEvents = 1000;
constexpr int64_t mostChannels = 2;

/// What is wrong with a parameter; "" if nothing is.
using Complaint = std::string;

struct QueryKey {
    std::string_view name;
    Complaint (*read)(const std::string& text, int64_t now_ms, HistoryQuery& query);
};

bool isClean(std::string_view text) {
    while (!text.empty()) {
        const size_t length = FleetText_characterLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::optional<std::string> decode(std::string_view text, bool isParameter) {
    std::string plain(text);
    if (isParameter) {
        std::ranges::replace(plain, '+', ' ');
    }
    std::optional<std::string> decoded = FleetText_decodePercent(plain);
    return decoded && decoded->size() <= longestPiece && isClean(*decoded) ? decoded : std::nullopt;
}

/// The pieces between separators; nothing if there are too many.
std::optional<std::vector<std::string_view>> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const size_t end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        if (pieces.size() == mostPieces) {
            return {};
        }
        text.remove_prefix(end + 1);
    }
}

bool readPath(std::string_view text, WebTarget& target) {
    const auto pieces = split(text, '/');
    return pieces && std::ranges::all_of(*pieces, [&target](std::string_view piece) {
               std::optional<std::string> decoded = decode(piece, false);
               target.path.push_back(decoded.value_or(""));
               return decoded.has_value();
           });
}

bool readParameters(std::string_view text, WebTarget& target) {
    const auto pieces = split(text, '&');
    return pieces && std::ranges::all_of(*pieces, [&target](std::string_view piece) {
               if (piece.empty()) {
                   return true;
               }
               const size_t equal = std::min(piece.find('='), piece.size());
               const auto name = decode(piece.substr(0, equal), true);
               const auto value = decode(piece.substr(std::min(equal + 1, piece.size())), true);
               target.parameters.emplace_back(name.value_or(""), value.value_or(""));
               return name && value;
           });
}

Complaint readTime(const std::string& text, int64_t now_ms, int64_t& time_ms) {
    const std::optional<int64_t> ago_ms = FleetText_parseDuration(text);
    const std::optional<int64_t> time =
        ago_ms ? std::optional(now_ms - *ago_ms) : FleetText_parseTime(text);
    time_ms = time.value_or(0);
    return time ? "" : "must be a time such as 2026-11-21T23:51:08Z, or how long ago, such as 1h";
}

Complaint readNumber(const std::string& text, int64_t most, int64_t& number) {
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    const bool isRight = failure == std::errc{} && rest == end && number >= 1 && number <= most;
    return isRight ? "" : "must be a whole number from 1 to " + std::to_string(most);
}

Complaint readFrom(const std::string& text, int64_t now_ms, HistoryQuery& query) {
    return readTime(text, now_ms, query.from_ms);
}

Complaint readTo(const std::string& text, int64_t now_ms, HistoryQuery& query) {
    return readTime(text, now_ms, query.to_ms);
}

Complaint readStep(const std::string& text, int64_t /*now_ms*/, HistoryQuery& query) {
    const std::optional<int64_t> step_ms = FleetText_parseDuration(text);
    query.step_ms = step_ms.value_or(0);
    return step_ms ? "" : "must be a time such as 10s, 1min or 1h";
}

Complaint readChannel(const std::string& text, int64_t /*now_ms*/, HistoryQuery& query) {
    int64_t channel = 0;
    Complaint complaint = readNumber(text, mostChannels, channel);
    query.channel = static_cast<int>(channel);
    return complaint;
}

Complaint readLimit(const std::string& text, int64_t /*now_ms*/, HistoryQuery& query) {
    return readNumber(text, mostEvents, query.limit);
}

Complaint readMeter(const std::string& text, int64_t /*now_ms*/, HistoryQuery& query) {
    query.meter = text;
    return {};
}

constexpr QueryKey readingsKeys[] = {
    {"channel", readChannel}, {"from", readFrom}, {"to", readTo}, {"step", readStep}};
constexpr QueryKey eventsKeys[] = {
    {"meter", readMeter}, {"from", readFrom}, {"to", readTo}, {"limit", readLimit}};

bool readKeys(const WebTarget& target, std::span<const QueryKey> keys, int64_t now_ms,
              HistoryQuery& query, std::string& error) {
    for (const auto& [name, value] : target.parameters) {
        const auto key = std::ranges::find(keys, name, &QueryKey::name);
        const Complaint complaint =
            key == keys.end() ? "is no parameter here" : key->read(value, now_ms, query);
        if (!complaint.empty()) {
            error = FleetText_clean(name) + " " + complaint;
            return false;
        }
    }
    error = query.from_ms < query.to_ms ? "" : "from must be before to";
    return error.empty();
}

} // namespace

std::optional<WebTarget> WebTarget_parse(std::string_view text) {
    WebTarget target;
    const size_t mark = std::min(text.find('?'), text.size());
    if (text.empty() || text[0] != '/' || !readPath(text.substr(1, mark - 1), target) ||
        !readParameters(text.substr(std::min(mark + 1, text.size())), target)) {
        return {};
    }
    return target;
}

bool WebTarget_readReadings(const WebTarget& target, int64_t now_ms, HistoryQuery& query,
                            std::string& error) {
    query.from_ms = now_ms - hour_ms;
    query.to_ms = now_ms;
    return readKeys(target, readingsKeys, now_ms, query, error);
}

bool WebTarget_readEvents(const WebTarget& target, int64_t now_ms, HistoryQuery& query,
                          std::string& error) {
    query.from_ms = now_ms - month_ms;
    query.to_ms = now_ms + 1; // what happened just now as well
    query.limit = usualEvents;
    return readKeys(target, eventsKeys, now_ms, query, error);
}
