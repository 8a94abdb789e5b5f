#ifndef FLEET_CORE_FLEET_TEXT_H
#define FLEET_CORE_FLEET_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Texts that people and files exchange with the fleet: times, durations, numbers.

/// As in "2026-11-21T23:51:08.123Z". Times are UTC, milliseconds since 1970, from year 0 to 9999.
std::string FleetText_time(int64_t time_ms);

/// Reads what FleetText_time writes, with any number of decimals or none; nothing if it is no such
/// time.
std::optional<int64_t> FleetText_parseTime(std::string_view text);

/// "100ms", "1.5s", "10min", "1h", "30d" or "5y" (of 365 days), in milliseconds, rounded; nothing
/// without a unit, below 1 ms or above 100 years.
std::optional<int64_t> FleetText_parseDuration(std::string_view text);

/// A duration for people, as in "1:02:03".
std::string FleetText_clock(int64_t duration_ms);

/// The shortest text that reads back as the same number, whatever the locale; "" for NaN.
std::string FleetText_number(double number);

/// Appends it instead.
void FleetText_appendNumber(std::string& text, double number);

/// Reads a decimal number, whatever the locale; NaN for "nan", nothing if it is none.
std::optional<double> FleetText_parseNumber(std::string_view text);

/// A text with "%41" for "A", as in addresses of the web; nothing where '%' is followed by no such
/// number.
std::optional<std::string> FleetText_decodePercent(std::string_view text);

/// Length of the valid UTF-8 character at the front of a text that is not empty; 0 if there is
/// none, or a control character.
size_t FleetText_characterLength(std::string_view text);

/// What a stranger has sent, fit for every file and page: at most 64 bytes of whole UTF-8
/// characters, control characters and broken ones replaced by '?', without blanks at its ends.
std::string FleetText_clean(std::string_view text);

#endif
