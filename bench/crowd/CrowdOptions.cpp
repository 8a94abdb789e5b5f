#include "CrowdOptions.h"

#include "BenchText.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cmath>

namespace {

constexpr double mostMeters = 20000;
constexpr uint32_t loopback = 127;

struct FaultName {
    std::string_view name;
    CrowdFault fault;
};
constexpr std::array<FaultName, 6> faultNames{{
    {"silent", CrowdFault::silent},
    {"slow", CrowdFault::slow},
    {"nan", CrowdFault::nan},
    {"garbage", CrowdFault::garbage},
    {"vanish", CrowdFault::vanish},
    {"restart", CrowdFault::restart},
}};

/// A whole number from 1 on; 0 if it is none.
size_t readCount(std::string_view text, double most) {
    const double number = BenchText_number(text).value_or(0);
    return number >= 1 && number <= most && number == std::floor(number)
               ? static_cast<size_t>(number)
               : 0;
}

bool readBase(const std::string& text, CrowdOptions& options) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        return false;
    }
    options.base = ntohl(address.s_addr);
    return options.base >> 24U == loopback;
}

/// "NAME", "NAME:METER" or "NAME:FIRST-LAST".
bool readFault(const std::string& text, CrowdOptions& options) {
    const std::vector<std::string_view> parts = BenchText_split(text, ':');
    const auto* row = std::ranges::find(faultNames, parts[0], &FaultName::name);
    if (row == faultNames.end() || parts.size() > 2) {
        return false;
    }
    CrowdFaultRange range{row->fault, 1, static_cast<size_t>(mostMeters)};
    if (parts.size() == 2) {
        const std::vector<std::string_view> ends = BenchText_split(parts[1], '-');
        range.first = readCount(ends.front(), mostMeters);
        range.last = readCount(ends.back(), mostMeters);
        if (ends.size() > 2 || range.first == 0 || range.last < range.first) {
            return false;
        }
    }
    options.faults.push_back(range);
    return true;
}

struct Option {
    std::string_view name;
    const char* value;
    const char* help;
    bool (*apply)(const std::string& text, CrowdOptions& options);
};
constexpr std::array<Option, 6> optionTable{{
    {"--base", "127.X.Y.Z", "address of the first meter (127.8.0.1); the others follow", readBase},
    {"--port", "N", "their port (5025)",
     [](const std::string& text, CrowdOptions& options) {
         options.port = static_cast<uint16_t>(readCount(text, 65535));
         return options.port != 0;
     }},
    {"--channels", "N", "channels with a sensor: 0, 1 or 2 (1)",
     [](const std::string& text, CrowdOptions& options) {
         options.channels = readCount(text, 2);
         return options.channels != 0 || text == "0";
     }},
    {"--sensor", "TEXT", "model of the sensors (5132)",
     [](const std::string& text, CrowdOptions& options) {
         options.sensor = text;
         return true;
     }},
    {"--fault", "NAME[:FIRST-LAST]",
     "silent, slow, nan, garbage, vanish or restart, for these meters", readFault},
    {"--period", "TIME", "faults last the second half of each period only",
     [](const std::string& text, CrowdOptions& options) {
         options.period_s = BenchText_duration_s(text).value_or(0);
         return options.period_s > 0;
     }},
}};

} // namespace

bool CrowdOptions_parse(const std::vector<std::string>& words, CrowdOptions& options,
                        std::string& error) {
    options = {};
    options.count = words.empty() ? 0 : readCount(words[0], mostMeters);
    if (options.count == 0) {
        error = "crowd needs a number of meters, at most 20000";
        return false;
    }
    for (size_t at = 1; at < words.size(); at += 2) {
        const auto* option = std::ranges::find(optionTable, words[at], &Option::name);
        if (option == optionTable.end()) {
            error = "unknown option '" + words[at] + "': see quorvel-bench --help";
            return false;
        }
        if (at + 1 == words.size() || !option->apply(words[at + 1], options)) {
            error = words[at] + " needs " + option->value + ": " + option->help;
            return false;
        }
    }
    return true;
}

std::string CrowdOptions_help() {
    std::string text;
    for (const Option& option : optionTable) {
        const std::string left = std::string(option.name) + " " + option.value;
        text += BenchText_format("  %-40s %s\n", left.c_str(), option.help);
    }
    return text;
}

std::string CrowdOptions_address(uint32_t address) {
    return BenchText_format("%u.%u.%u.%u", address >> 24U, address >> 16U & 255U,
                            address >> 8U & 255U, address & 255U);
}

CrowdFault CrowdOptions_fault(const CrowdOptions& options, size_t meter) {
    CrowdFault fault = CrowdFault::none;
    for (const CrowdFaultRange& range : options.faults) {
        if (meter >= range.first && meter <= range.last) {
            fault = range.fault;
        }
    }
    return fault;
}
