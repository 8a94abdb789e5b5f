#include "ExportUrl.h"

#include "FleetText.h"

#include <algorithm>

namespace {

constexpr std::string_view scheme = "http://";
constexpr std::string_view secureScheme = "https://";
constexpr std::string_view precisionKey = "precision=";

/// "HOST", "HOST:PORT" or "[::1]:PORT".
std::string readHost(std::string_view text, ExportUrl& url) {
    const size_t colon = text.rfind(':');
    const bool hasPort = colon != std::string_view::npos && text.find(']', colon) == text.npos;
    const auto address = MeterAddress_parse(std::string(text) + (hasPort ? "" : ":80"));
    url.address = address.value_or(MeterAddress{});
    return address ? "" : "must name a host, as in http://HOST[:PORT]/write";
}

/// "USER:PASSWORD" or "TOKEN".
std::string readUser(std::string_view text, ExportUrl& url) {
    const size_t colon = text.find(':');
    url.hasPassword = colon != std::string_view::npos;
    const auto user = FleetText_decodePercent(text.substr(0, colon));
    const auto password =
        FleetText_decodePercent(url.hasPassword ? text.substr(colon + 1) : std::string_view());
    if (!user || !password) {
        return "must have %XX for special characters of its user, password or token";
    }
    url.user = *user;
    url.password = *password;
    return {};
}

/// Without it the line protocol's times are nanoseconds.
std::string readPrecision(std::string_view query, ExportUrl& url) {
    while (!query.empty()) {
        const std::string_view parameter = query.substr(1, query.find('&', 1) - 1);
        query.remove_prefix(parameter.size() + 1);
        if (parameter.starts_with(precisionKey)) {
            const std::string_view precision = parameter.substr(precisionKey.size());
            if (precision != "ms" && precision != "ns" && precision != "n") {
                return "must have precision=ms, precision=ns or none";
            }
            url.time = precision == "ms" ? LineTime::milliseconds : LineTime::nanoseconds;
        }
    }
    return {};
}

} // namespace

std::string ExportUrl_parse(std::string_view text, ExportUrl& url) {
    url = {};
    if (text.starts_with(secureScheme)) {
        return "must begin with http://: leave https to a relay on this computer, such as Telegraf "
               "or vmagent";
    }
    if (!text.starts_with(scheme)) {
        return "must begin with http://";
    }
    if (!std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7f'; })) {
        return "must be without blanks, and of ASCII characters";
    }
    text.remove_prefix(scheme.size());
    const std::string_view authority = text.substr(0, text.find_first_of("/?"));
    const std::string_view target = text.substr(authority.size());
    const size_t at = authority.rfind('@');
    url.target = (target.starts_with('/') ? "" : "/") + std::string(target);
    std::string complaint = readHost(authority.substr(at == authority.npos ? 0 : at + 1), url);
    if (complaint.empty() && at != authority.npos) {
        complaint = readUser(authority.substr(0, at), url);
    }
    if (complaint.empty() && target.find('?') != target.npos) {
        complaint = readPrecision(target.substr(target.find('?')), url);
    }
    return complaint;
}
