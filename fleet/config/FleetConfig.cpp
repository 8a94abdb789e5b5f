#include "FleetConfig.h"

#include "FleetText.h"
#include "TomlAscii.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cmath>
#include <fstream>
#include <span>
#include <sstream>

// The library asserts what it checks and complains of a line later (a table's name that begins with
// '*'); some compilers take its assertions for facts where NDEBUG is set.
#undef NDEBUG
#define TOML_ASSERT(expr) static_assert(true)
#include <toml++/toml.h>

namespace {

constexpr int64_t shortestInterval_ms = 10;
constexpr int64_t shortestKeep_ms = 3'600'000;
constexpr int64_t largestBatch = 100'000;
constexpr int64_t largestShare = 1000;
constexpr size_t longestName = 64;

std::string placed(const std::string& file, long line, std::string_view complaint) {
    return file + ":" + std::to_string(line) + ": " + std::string(complaint);
}

/// What is wrong with a value; "" if nothing is.
using Complaint = std::string;

template <typename Target> struct ConfigKey {
    std::string_view name;
    Complaint (*read)(const toml::node& node, Target& target);
};

Complaint readText(const toml::node& node, std::string& text) {
    const std::optional<std::string> value = node.value_exact<std::string>();
    if (!value) {
        return "must be a text in quotes";
    }
    if (value->size() > longestName * 16 || value->find('\0') != std::string::npos) {
        return "is too long, or holds a zero";
    }
    text = *value;
    return {};
}

Complaint readName(const toml::node& node, std::string& name) {
    Complaint complaint = readText(node, name);
    if (complaint.empty() && FleetText_clean(name) != name) {
        complaint = "must be at most 64 bytes, without control characters and blanks at its ends";
    }
    return complaint;
}

Complaint readFlag(const toml::node& node, bool& flag) {
    const std::optional<bool> value = node.value_exact<bool>();
    flag = value.value_or(false);
    return value ? "" : "must be true or false";
}

Complaint readDuration(const toml::node& node, int64_t& duration_ms) {
    const std::optional<std::string> text = node.value_exact<std::string>();
    const std::optional<int64_t> value = text ? FleetText_parseDuration(*text) : std::nullopt;
    duration_ms = value.value_or(0);
    return value ? ""
                 : "must be a time such as \"100ms\", \"10s\", \"5min\", \"1h\", \"30d\" or \"5y\"";
}

Complaint readInterval(const toml::node& node, int64_t& interval_ms) {
    Complaint complaint = readDuration(node, interval_ms);
    if (complaint.empty() && interval_ms < shortestInterval_ms) {
        complaint = "must be 10ms at least";
    }
    return complaint;
}

/// Long enough for readings to become minutes first.
Complaint readKeep(const toml::node& node, int64_t& duration_ms) {
    Complaint complaint = readDuration(node, duration_ms);
    if (complaint.empty() && duration_ms < shortestKeep_ms) {
        complaint = "must be 1h at least";
    }
    return complaint;
}

Complaint readNumber(const toml::node& node, double least, double& number) {
    const std::optional<double> value =
        node.is_number() ? node.value<double>() : std::optional<double>();
    number = value.value_or(0);
    if (!value || !std::isfinite(number)) {
        return "must be a number";
    }
    return number >= least ? "" : "must be " + FleetText_number(least) + " at least";
}

Complaint readLimit(const toml::node& node, double least, std::optional<double>& limit) {
    double number = 0;
    Complaint complaint = readNumber(node, least, number);
    limit = number;
    return complaint;
}

Complaint readCount(const toml::node& node, int64_t most, int64_t& count) {
    const std::optional<int64_t> value = node.value_exact<int64_t>();
    count = value.value_or(0);
    return count >= 1 && count <= most ? ""
                                       : "must be a whole number from 1 to " + std::to_string(most);
}

/// "2/5".
Complaint readShare(const toml::node& node, FleetConfig& config) {
    const std::string text = node.value_exact<std::string>().value_or("");
    const char* end = text.data() + text.size();
    const auto [slash, failure] = std::from_chars(text.data(), end, config.share);
    if (failure == std::errc{} && slash != end && *slash == '/') {
        const auto [rest, second] = std::from_chars(slash + 1, end, config.shareCount);
        if (second == std::errc{} && rest == end && config.share >= 1 &&
            config.share <= config.shareCount && config.shareCount <= largestShare) {
            return {};
        }
    }
    return "must be such as \"2/5\": the second of five";
}

bool isNumeric(const std::string& host) {
    in6_addr address{};
    return inet_pton(AF_INET, host.c_str(), &address) == 1 ||
           inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

Complaint readListen(const toml::node& node, std::string& listen) {
    const std::optional<std::string> text = node.value_exact<std::string>();
    const MeterAddress address = MeterAddress_parse(text.value_or("")).value_or(MeterAddress{});
    // The port is not left out, and not taken for a name.
    const bool isWhole = text && text->ends_with(":" + std::to_string(address.port)) &&
                         (address.host == "localhost" || isNumeric(address.host));
    if (!isWhole && text != "") {
        return "must be \"ADDRESS:PORT\" with a numeric address, an IPv6 one in brackets, or \"\"";
    }
    listen = *text;
    return {};
}

/// Fit for a header, and for a password that is typed.
Complaint readToken(const toml::node& node, std::string& token) {
    const Complaint complaint = readText(node, token);
    const bool isFit = std::ranges::all_of(token, [](char c) { return c > ' ' && c < '\x7f'; });
    return complaint.empty() && !isFit ? "must be of letters, digits and signs, without blanks"
                                       : complaint;
}

Complaint readAddress(const toml::node& node, MeterAddress& address) {
    const std::optional<std::string> text = node.value_exact<std::string>();
    const std::optional<MeterAddress> parsed = text ? MeterAddress_parse(*text) : std::nullopt;
    address = parsed.value_or(MeterAddress{});
    return parsed ? "" : "must be \"HOST[:PORT]\", an IPv6 address in brackets";
}

Complaint readUrl(const toml::node& node, std::optional<ExportUrl>& url) {
    std::string text;
    const Complaint complaint = readText(node, text);
    return complaint.empty() ? ExportUrl_parse(text, url.emplace()) : complaint;
}

constexpr std::array<ConfigKey<ChannelConfig>, 6> channelKeys{{
    {"channel",
     [](const toml::node& node, ChannelConfig& config) {
         int64_t channel = 0;
         Complaint complaint = readCount(node, 2, channel);
         config.channel = static_cast<int>(channel);
         return complaint;
     }},
    {"offset_dB",
     [](const toml::node& node, ChannelConfig& config) {
         const Complaint complaint = readNumber(node, -200, config.offset_dB);
         return complaint.empty() && config.offset_dB > 200 ? "must be 200 at most" : complaint;
     }},
    {"forward_low_W",
     [](const toml::node& node, ChannelConfig& config) {
         return readLimit(node, 0, config.limits.forwardLow_W);
     }},
    {"forward_high_W",
     [](const toml::node& node, ChannelConfig& config) {
         return readLimit(node, 0, config.limits.forwardHigh_W);
     }},
    {"vswr_high", [](const toml::node& node,
                     ChannelConfig& config) { return readLimit(node, 1, config.limits.vswrHigh); }},
    {"limit_hold", [](const toml::node& node,
                      ChannelConfig& config) { return readDuration(node, config.limits.hold_ms); }},
}};

constexpr std::array<ConfigKey<MeterConfig>, 4> meterKeys{{
    {"address",
     [](const toml::node& node, MeterConfig& config) { return readAddress(node, config.address); }},
    {"name",
     [](const toml::node& node, MeterConfig& config) { return readName(node, config.name); }},
    {"place",
     [](const toml::node& node, MeterConfig& config) { return readName(node, config.place); }},
    {"every", [](const toml::node& node,
                 MeterConfig& config) { return readInterval(node, config.every_ms); }},
}};

constexpr std::array<ConfigKey<ExportConfig>, 2> exportKeys{{
    {"url", [](const toml::node& node, ExportConfig& config) { return readUrl(node, config.url); }},
    {"batch", [](const toml::node& node,
                 ExportConfig& config) { return readCount(node, largestBatch, config.batch); }},
}};

constexpr std::array<ConfigKey<FleetConfig>, 10> fleetKeys{{
    {"database",
     [](const toml::node& node, FleetConfig& config) { return readText(node, config.database); }},
    {"listen",
     [](const toml::node& node, FleetConfig& config) { return readListen(node, config.listen); }},
    {"token",
     [](const toml::node& node, FleetConfig& config) { return readToken(node, config.token); }},
    {"every", [](const toml::node& node,
                 FleetConfig& config) { return readInterval(node, config.every_ms); }},
    {"poll", [](const toml::node& node,
                FleetConfig& config) { return readInterval(node, config.poll_ms); }},
    {"hold",
     [](const toml::node& node, FleetConfig& config) { return readFlag(node, config.holds); }},
    {"share", readShare},
    {"discover",
     [](const toml::node& node, FleetConfig& config) { return readFlag(node, config.discovers); }},
    {"keep_raw",
     [](const toml::node& node, FleetConfig& config) { return readKeep(node, config.keepRaw_ms); }},
    {"keep_minutes", [](const toml::node& node,
                        FleetConfig& config) { return readKeep(node, config.keepMinutes_ms); }},
}};

/// Reads a document; the first complaint is kept with its line.
struct Reader {
    std::string file;
    std::string error;

    bool complain(const toml::node& node, const std::string& what) {
        error = placed(file, node.source().begin.line, what);
        return false;
    }
};

/// A key of `table` that is not in the list is a complaint, unless it is one of `others`.
template <typename Target>
bool readKeys(Reader& reader, const toml::table& table, std::span<const ConfigKey<Target>> keys,
              std::initializer_list<std::string_view> others, Target& target) {
    for (const auto& [key, node] : table) {
        const std::string_view name = key.str();
        const auto row = std::ranges::find(keys, name, &ConfigKey<Target>::name);
        if (row != keys.end()) {
            const Complaint complaint = row->read(node, target);
            if (!complaint.empty()) {
                return reader.complain(node, std::string(name) + " " + complaint);
            }
        } else if (std::ranges::find(others, name) == others.end()) {
            return reader.complain(node, "unknown key '" + FleetText_clean(name) + "'");
        }
    }
    return true;
}

/// Calls `read(table)` for each table of an array such as [[meter]].
template <typename Read>
bool readTables(Reader& reader, const toml::table& parent, std::string_view name, Read read) {
    const toml::node* node = parent.get(name);
    if (node == nullptr) {
        return true;
    }
    const toml::array* tables = node->as_array();
    if (tables == nullptr || !tables->is_homogeneous<toml::table>()) {
        return reader.complain(*node, std::string(name) + " must be written as [[" +
                                          std::string(name) + "]]");
    }
    return std::ranges::all_of(*tables,
                               [&](const toml::node& table) { return read(*table.as_table()); });
}

bool readChannel(Reader& reader, const toml::table& table, MeterConfig& meter) {
    ChannelConfig channel;
    if (!readKeys<ChannelConfig>(reader, table, channelKeys, {}, channel)) {
        return false;
    }
    if (channel.channel == 0) {
        return reader.complain(table, "a channel needs its number: channel = 1");
    }
    if (std::ranges::count(meter.channels, channel.channel, &ChannelConfig::channel) > 0) {
        return reader.complain(table,
                               "channel " + std::to_string(channel.channel) + " is given twice");
    }
    const ChannelLimits& limits = channel.limits;
    if (limits.forwardLow_W && limits.forwardHigh_W &&
        *limits.forwardLow_W >= *limits.forwardHigh_W) {
        return reader.complain(table, "forward_low_W must be below forward_high_W");
    }
    meter.channels.push_back(channel);
    return true;
}

bool readMeter(Reader& reader, const toml::table& table, FleetConfig& config) {
    MeterConfig meter;
    if (!readKeys<MeterConfig>(reader, table, meterKeys, {"channel"}, meter)) {
        return false;
    }
    if (meter.address.host.empty()) {
        return reader.complain(table, "a meter needs its address");
    }
    if (std::ranges::count(config.meters, meter.address, &MeterConfig::address) > 0) {
        return reader.complain(table, MeterAddress_text(meter.address) + " is given twice");
    }
    const bool isRead = readTables(reader, table, "channel", [&](const toml::table& channel) {
        return readChannel(reader, channel, meter);
    });
    config.meters.push_back(std::move(meter));
    return isRead;
}

bool readExport(Reader& reader, const toml::table& root, FleetConfig& config) {
    const toml::node* node = root.get("export");
    if (node == nullptr) {
        return true;
    }
    if (!node->is_table()) {
        return reader.complain(*node, "export must be written as [export]");
    }
    return readKeys<ExportConfig>(reader, *node->as_table(), exportKeys, {}, config.exported);
}

bool isLoopback(const std::string& listen) {
    const std::string host = MeterAddress_parse(listen).value_or(MeterAddress{}).host;
    return host.empty() || host.starts_with("127.") || host == "::1" || host == "localhost";
}

/// What does not go together.
bool checkWhole(Reader& reader, const toml::table& root, const FleetConfig& config) {
    if (config.poll_ms > config.every_ms) {
        return reader.complain(*root.get("poll"), "poll must not be longer than every");
    }
    if (!isLoopback(config.listen) && config.token.empty()) {
        return reader.complain(
            *root.get("listen"),
            "listen needs a token here: everybody in that network could read all");
    }
    return true;
}

/// The library's parser does not always stop at its first failure unless it throws.
std::optional<toml::table> parse(std::string_view text, const std::string& file,
                                 std::string& error) {
    const TomlAscii ascii = TomlAscii_make(text);
    if (!ascii.complaint.empty()) {
        error = placed(file, std::count(ascii.text.begin(), ascii.text.end(), '\n') + 1,
                       ascii.complaint);
        return std::nullopt;
    }
    try {
        return toml::parse(std::string_view(ascii.text), file);
    } catch (const toml::parse_error& failure) {
        std::string complaint(failure.description());
        // It quotes what it has met as it is, the end of a line included.
        std::replace_if(
            complaint.begin(), complaint.end(), [](char c) { return c < ' '; }, '?');
        error = placed(file, failure.source().begin.line, complaint);
        return std::nullopt;
    }
}

} // namespace

bool FleetConfig_parse(std::string_view text, const std::string& file, FleetConfig& config,
                       std::string& error) {
    config = {};
    const std::optional<toml::table> parsed = parse(text, file, error);
    if (!parsed) {
        return false;
    }
    const toml::table& root = *parsed;
    Reader reader{file, {}};
    const bool isRead =
        readKeys<FleetConfig>(reader, root, fleetKeys, {"meter", "export"}, config) &&
        readTables(reader, root, "meter",
                   [&](const toml::table& table) { return readMeter(reader, table, config); }) &&
        readExport(reader, root, config) && checkWhole(reader, root, config);
    error = reader.error;
    return isRead;
}

bool FleetConfig_read(const std::string& file, FleetConfig& config, std::string& error) {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream.is_open() || stream.bad()) {
        error = file + ":1: it cannot be read";
        return false;
    }
    return FleetConfig_parse(text.str(), file, config, error);
}
