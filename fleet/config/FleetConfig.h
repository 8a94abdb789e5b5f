#ifndef FLEET_CONFIG_FLEET_CONFIG_H
#define FLEET_CONFIG_FLEET_CONFIG_H

#include "ChannelLimits.h"
#include "ExportUrl.h"
#include "MeterAddress.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What fleet.toml says.

struct ChannelConfig {
    int channel = 0; ///< 1 or 2
    double offset_dB = 0;
    ChannelLimits limits;
};

struct MeterConfig {
    MeterAddress address;
    std::string name;
    std::string place;
    int64_t every_ms = 0; ///< 0: as all
    std::vector<ChannelConfig> channels;
};

struct ExportConfig {
    std::optional<ExportUrl> url; ///< nothing for no export
    int64_t batch = 5000;
};

struct FleetConfig {
    std::string database = "fleet.sqlite";
    std::string listen = "127.0.0.1:8830"; ///< "" for no page
    std::string token;                     ///< that a page needs; "" for none
    int64_t every_ms = 1000;
    int64_t poll_ms = 0; ///< 0: as every_ms
    bool holds = false;
    int64_t share = 1; ///< of shareCount
    int64_t shareCount = 1;
    bool discovers = false;
    int64_t keepRaw_ms = int64_t{30} * 86'400'000;
    int64_t keepMinutes_ms = int64_t{5} * 365 * 86'400'000;
    ExportConfig exported;
    std::vector<MeterConfig> meters;
};

/// Reads a file's text. False for the first thing that is wrong, which `error` tells as
/// "FILE:LINE: what".
bool FleetConfig_parse(std::string_view text, const std::string& file, FleetConfig& config,
                       std::string& error);

/// Reads the file.
bool FleetConfig_read(const std::string& file, FleetConfig& config, std::string& error);

#endif
