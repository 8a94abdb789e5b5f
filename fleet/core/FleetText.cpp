#include "FleetText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

namespace chrono = std::chrono;

constexpr int64_t second_ms = 1000;
constexpr int64_t day_ms = 24 * (3600 * second_ms);
constexpr int64_t year_ms = 365 * day_ms;
constexpr int64_t longestDuration_ms = 100 * year_ms;
constexpr size_t longestText = 64;

struct DurationUnit {
    std::string_view name;
    int64_t time_ms;
};
constexpr DurationUnit durationUnits[] = {
    {"ms", 1},     {"s", second_ms}, {"min", 60 * second_ms}, {"h", 3600 * second_ms},
    {"d", day_ms}, {"y", year_ms},
};

/// Takes `count` digits from the front.
std::optional<int> takeDigits(std::string_view& text, size_t count) {
    int number = 0;
    const char* end = text.data() + std::min(count, text.size());
    if (text.size() < count || text[0] == '-' ||
        std::from_chars(text.data(), end, number).ptr != end) {
        return {};
    }
    text.remove_prefix(count);
    return number;
}

struct TimeField {
    size_t at;
    size_t digits;
};
constexpr TimeField timeFields[] = {{0, 4}, {5, 2}, {8, 2}, {11, 2}, {14, 2}, {17, 2}, {20, 3}};

/// Every row of a log has a time, and the C library would take longer for it than for the row's
/// numbers.
void putDigits(std::string& text, const TimeField& field, int number) {
    constexpr int base = 10;
    for (size_t digit = field.digits; digit-- > 0; number /= base) {
        text[field.at + digit] = static_cast<char>('0' + number % base);
    }
}

bool take(std::string_view& text, char wanted) {
    if (text.empty() || text.front() != wanted) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// Takes ".123456", of which milliseconds count.
std::optional<int> takeFraction_ms(std::string_view& text) {
    if (!take(text, '.')) {
        return 0;
    }
    int fraction_ms = 0;
    int weight_ms = 100;
    size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
        fraction_ms += (text[digits] - '0') * weight_ms;
        weight_ms /= 10;
    }
    text.remove_prefix(digits);
    return digits > 0 ? std::optional(fraction_ms) : std::nullopt;
}

/// Takes numbers of these lengths, each followed by its separator (0 for none).
template <size_t count>
std::optional<std::array<int, count>> takeNumbers(std::string_view& text,
                                                  const std::array<size_t, count>& lengths,
                                                  const std::array<char, count>& separators) {
    std::array<int, count> numbers{};
    for (size_t i = 0; i < count; ++i) {
        const std::optional<int> number = takeDigits(text, lengths[i]);
        if (!number || (separators[i] != 0 && !take(text, separators[i]))) {
            return {};
        }
        numbers[i] = *number;
    }
    return numbers;
}

} // namespace

std::string FleetText_time(int64_t time_ms) {
    const chrono::sys_time<chrono::milliseconds> time{chrono::milliseconds(time_ms)};
    const auto day = chrono::floor<chrono::days>(time);
    const chrono::year_month_day date(day);
    const chrono::hh_mm_ss clock(time - day);
    const std::array numbers{int(date.year()),
                             static_cast<int>(unsigned(date.month())),
                             static_cast<int>(unsigned(date.day())),
                             static_cast<int>(clock.hours().count()),
                             static_cast<int>(clock.minutes().count()),
                             static_cast<int>(clock.seconds().count()),
                             static_cast<int>(clock.subseconds().count())};
    std::string text = "0000-00-00T00:00:00.000Z";
    for (size_t field = 0; field < numbers.size(); ++field) {
        putDigits(text, timeFields[field], numbers[field]);
    }
    return text;
}

std::optional<int64_t> FleetText_parseTime(std::string_view text) {
    const auto numbers = takeNumbers<6>(text, {4, 2, 2, 2, 2, 2}, {'-', '-', 'T', ':', ':', 0});
    if (!numbers) {
        return {};
    }
    const auto& [year, month, day, hour, minute, second] = *numbers;
    const std::optional<int> fraction_ms = takeFraction_ms(text);
    const chrono::year_month_day date(chrono::year(year),
                                      chrono::month(static_cast<unsigned>(month)),
                                      chrono::day(static_cast<unsigned>(day)));
    if (!fraction_ms || text != "Z" || !date.ok() || hour > 23 || minute > 59 || second > 59) {
        return {};
    }
    const int64_t days = chrono::sys_days(date).time_since_epoch().count();
    return days * day_ms + ((hour * 60 + minute) * 60 + second) * second_ms + *fraction_ms;
}

std::optional<int64_t> FleetText_parseDuration(std::string_view text) {
    double number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] =
        std::from_chars(text.data(), end, number, std::chars_format::fixed);
    const std::string_view unit(rest, static_cast<size_t>(end - rest));
    const auto* row = std::ranges::find(durationUnits, unit, &DurationUnit::name);
    if (failure != std::errc{} || row == std::end(durationUnits)) {
        return {};
    }
    const double duration_ms = number * static_cast<double>(row->time_ms);
    if (!(duration_ms >= 1) || duration_ms > static_cast<double>(longestDuration_ms)) {
        return {};
    }
    return std::llround(duration_ms);
}

std::string FleetText_clock(int64_t duration_ms) {
    const long long seconds = std::max<int64_t>(duration_ms, 0) / second_ms;
    std::array<char, 48> text;
    snprintf(text.data(), text.size(), "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
             seconds % 60);
    return text.data();
}

void FleetText_appendNumber(std::string& text, double number) {
    if (std::isnan(number)) {
        return;
    }
    std::array<char, 32> digits;
    const auto [end, failure] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), end);
}

std::string FleetText_number(double number) {
    std::string text;
    FleetText_appendNumber(text, number);
    return text;
}

std::optional<double> FleetText_parseNumber(std::string_view text) {
    double number = 0;
    const char* end = text.data() + text.size();
    if (text == "nan" || text == "-nan") {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc{} || rest != end || !std::isfinite(number)) {
        return {};
    }
    return number;
}

std::optional<std::string> FleetText_decodePercent(std::string_view text) {
    constexpr size_t escapeLength = 3;
    constexpr int hexBase = 16;
    std::string decoded;
    while (!text.empty()) {
        if (text[0] != '%') {
            decoded += text[0];
            text.remove_prefix(1);
            continue;
        }
        const char* end = text.data() + escapeLength;
        unsigned number = 0;
        if (text.size() < escapeLength) {
            return {};
        }
        const auto [rest, failure] = std::from_chars(text.data() + 1, end, number, hexBase);
        if (failure != std::errc{} || rest != end) {
            return {};
        }
        decoded += static_cast<char>(number);
        text.remove_prefix(escapeLength);
    }
    return decoded;
}

size_t FleetText_characterLength(std::string_view text) {
    const auto byte = [text](size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7f ? 1 : 0;
    }
    const size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80) {
            return 0;
        }
    }
    // Overlong forms, surrogates, what lies beyond the last character, and the C1 controls.
    const bool isForbidden = (first == 0xe0 && byte(1) < 0xa0) ||
                             (first == 0xed && byte(1) > 0x9f) ||
                             (first == 0xf0 && byte(1) < 0x90) ||
                             (first == 0xf4 && byte(1) > 0x8f) || (first == 0xc2 && byte(1) < 0xa0);
    return isForbidden ? 0 : length;
}

std::string FleetText_clean(std::string_view text) {
    std::string clean;
    while (!text.empty()) {
        const size_t length = FleetText_characterLength(text);
        const size_t taken = std::max<size_t>(length, 1);
        if (clean.size() + taken > longestText) {
            break;
        }
        clean.append(length == 0 ? std::string_view("?") : text.substr(0, length));
        text.remove_prefix(taken);
    }
    const size_t first = clean.find_first_not_of(' ');
    return first == std::string::npos
               ? ""
               : clean.substr(first, clean.find_last_not_of(' ') - first + 1);
}
