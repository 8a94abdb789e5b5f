#include "MeterAddress.h"

#include <charconv>

namespace {

/// "" or ":PORT".
std::optional<uint16_t> parsePort(std::string_view text) {
    if (text.empty()) {
        return meterPort;
    }
    uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data() + 1, end, port);
    if (text[0] != ':' || failure != std::errc{} || rest != end || port == 0) {
        return {};
    }
    return port;
}

bool isInside(std::string_view text, std::string_view allowed) {
    return !text.empty() && text.find_first_not_of(allowed) == std::string_view::npos;
}

/// Names, IPv4 addresses; inside brackets IPv6 addresses, with their zone.
constexpr std::string_view nameCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
constexpr std::string_view bracketCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_:%";

} // namespace

std::optional<MeterAddress> MeterAddress_parse(std::string_view text) {
    const bool hasBrackets = text.starts_with('[');
    const size_t close = text.find(']');
    if (hasBrackets && close == std::string_view::npos) {
        return {};
    }
    const size_t hostEnd = hasBrackets ? close + 1 : std::min(text.find(':'), text.size());
    const std::string_view host = hasBrackets ? text.substr(1, close - 1) : text.substr(0, hostEnd);
    const bool isHost = hasBrackets
                            ? isInside(host, bracketCharacters) && host.find(':') != host.npos
                            : isInside(host, nameCharacters);
    const std::optional<uint16_t> port = parsePort(text.substr(hostEnd));
    if (!isHost || !port) {
        return {};
    }
    return MeterAddress{std::string(host), *port};
}

std::string MeterAddress_text(const MeterAddress& address) {
    const bool isIpv6 = address.host.find(':') != std::string::npos;
    const std::string host = isIpv6 ? "[" + address.host + "]" : address.host;
    return address.port == meterPort ? host : host + ":" + std::to_string(address.port);
}
