#ifndef FLEET_CORE_METER_ADDRESS_H
#define FLEET_CORE_METER_ADDRESS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Where a meter answers.
struct MeterAddress {
    std::string host; ///< a name or an address, without brackets
    uint16_t port = 0;

    bool operator==(const MeterAddress&) const = default;
};

constexpr uint16_t meterPort = 5025;

/// Reads "HOST[:PORT]", port 5025 if it is left out; an IPv6 address stands in brackets. Nothing if
/// it is none.
std::optional<MeterAddress> MeterAddress_parse(std::string_view text);

/// The same text again, the port left out where it is 5025.
std::string MeterAddress_text(const MeterAddress& address);

#endif
