#ifndef BENCH_WORLD_BENCH_TEXT_H
#define BENCH_WORLD_BENCH_TEXT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What people type and what the channels carry: words, numbers and units.

/// The blank-separated words of a line.
std::vector<std::string_view> BenchText_words(std::string_view line);

/// The parts of a text between separators; an empty text has one empty part.
std::vector<std::string_view> BenchText_split(std::string_view text, char separator);

/// A whole text as a finite number in the "C" locale.
std::optional<double> BenchText_number(std::string_view text);

/// "60s", "500ms", "2m", "1h", "-1h"; a bare number is seconds.
std::optional<double> BenchText_duration_s(std::string_view text);

/// "25", "25W", "3mW", "1.2kW" or "10dBm".
std::optional<double> BenchText_power_W(std::string_view text);

/// "13.56MHz", "400kHz", "50Hz"; a bare number is hertz.
std::optional<double> BenchText_frequency_Hz(std::string_view text);

/// Turns "\t", "\n" and "\\" escapes back into the characters.
std::string BenchText_unescape(std::string_view text);

/// The last lines of a text, each ended; fewer when it has fewer.
std::string BenchText_lastLines(std::string_view text, size_t count);

/// "a, b and c", for messages that name what is allowed.
std::string BenchText_list(const std::vector<std::string>& names);

/// Formats like printf, for short texts (at most 1023 bytes, cut beyond).
std::string BenchText_format(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
