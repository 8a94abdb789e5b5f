#include "BenchText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <span>

namespace {

struct Unit {
    std::string_view suffix;
    double factor;
};

// A longer suffix stands before one that it ends with.
constexpr std::array<Unit, 5> durationUnits{
    {{"ms", 0.001}, {"us", 1e-6}, {"s", 1}, {"m", 60}, {"h", 3600}}};
constexpr std::array<Unit, 5> powerUnits{
    {{"mW", 0.001}, {"uW", 1e-6}, {"kW", 1000}, {"MW", 1e6}, {"W", 1}}};
constexpr std::array<Unit, 4> frequencyUnits{{{"kHz", 1e3}, {"MHz", 1e6}, {"GHz", 1e9}, {"Hz", 1}}};

std::optional<double> numberWithUnit(std::string_view text, std::span<const Unit> units) {
    for (const Unit& unit : units) {
        if (text.ends_with(unit.suffix)) {
            const auto number = BenchText_number(text.substr(0, text.size() - unit.suffix.size()));
            return number ? std::optional(*number * unit.factor) : std::nullopt;
        }
    }
    return BenchText_number(text);
}

} // namespace

std::vector<std::string_view> BenchText_words(std::string_view line) {
    constexpr std::string_view blanks = " \t\r\n";
    std::vector<std::string_view> words;
    size_t at = line.find_first_not_of(blanks);
    while (at != std::string_view::npos) {
        const size_t end = std::min(line.find_first_of(blanks, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(blanks, end);
    }
    return words;
}

std::vector<std::string_view> BenchText_split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string_view::npos;
         end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

std::optional<double> BenchText_number(std::string_view text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    const bool isWhole = result.ec == std::errc() && result.ptr == end;
    return isWhole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<double> BenchText_duration_s(std::string_view text) {
    return numberWithUnit(text, durationUnits);
}

std::optional<double> BenchText_power_W(std::string_view text) {
    constexpr std::string_view decibels = "dBm";
    if (text.ends_with(decibels)) {
        const auto level = BenchText_number(text.substr(0, text.size() - decibels.size()));
        return level ? std::optional(std::pow(10.0, *level / 10.0) / 1000.0) : std::nullopt;
    }
    return numberWithUnit(text, powerUnits);
}

std::optional<double> BenchText_frequency_Hz(std::string_view text) {
    return numberWithUnit(text, frequencyUnits);
}

std::string BenchText_unescape(std::string_view text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\\' || at + 1 == text.size()) {
            plain += text[at];
            continue;
        }
        ++at;
        plain += text[at] == 't' ? '\t' : text[at] == 'n' ? '\n' : text[at];
    }
    return plain;
}

std::string BenchText_lastLines(std::string_view text, size_t count) {
    std::vector<std::string_view> lines = BenchText_split(text, '\n');
    if (lines.back().empty()) {
        lines.pop_back();
    }
    std::string last;
    for (size_t at = lines.size() - std::min(lines.size(), count); at < lines.size(); ++at) {
        last += lines[at];
        last += '\n';
    }
    return last;
}

std::string BenchText_list(const std::vector<std::string>& names) {
    std::string list;
    for (size_t at = 0; at < names.size(); ++at) {
        list += at == 0 ? "" : at + 1 == names.size() ? " and " : ", ";
        list += names[at];
    }
    return list;
}

std::string BenchText_format(const char* format, ...) {
    std::array<char, 1024> text{};
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}
