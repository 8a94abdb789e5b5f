#include "ConfigurationFile.h"

#include "Numbers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr int longestLine = 63; // what the reader takes in one piece, without its terminator
constexpr const char* wordSeparators = " \n\r";

/// An older key, no longer written: its value is the display mode of both channels.
constexpr const char* legacyDisplayModeKey = "displayGraphRadioButtonActive";

template <typename Value>
Value loadField(const QUORVEL_APP_SETTINGS& settings, const ConfigurationSetting& setting) {
    Value value;
    memcpy(&value, reinterpret_cast<const char*>(&settings) + setting.offset, sizeof value);
    return value;
}

template <typename Value>
void storeField(QUORVEL_APP_SETTINGS& settings, const ConfigurationSetting& setting, Value value) {
    memcpy(reinterpret_cast<char*>(&settings) + setting.offset, &value, sizeof value);
}

bool startsWith(const char* line, const char* key) {
    return strncmp(line, key, strlen(key)) == 0;
}

/// The key's own length is compared, whatever follows; only behind a channel number must no further
/// digit stand, since that would be another channel.
bool lineHasKey(const char* line, const char* key) {
    if (!startsWith(line, key)) {
        return false;
    }
    const size_t length = strlen(key);
    const bool endsInChannel = isdigit(static_cast<unsigned char>(key[length - 1])) != 0;
    return !endsInChannel || isdigit(static_cast<unsigned char>(line[length])) == 0;
}

int checkedInteger(const ConfigurationSetting& setting, int value) {
    switch (setting.rule) {
    case ConfigurationRule::clamped:
        return std::clamp(value, setting.lowest, setting.highest);
    case ConfigurationRule::fallback:
        return value < setting.lowest || value > setting.highest
                   ? static_cast<int>(setting.fallback)
                   : value;
    case ConfigurationRule::asRead:
    case ConfigurationRule::notRestored:
        break;
    }
    return value;
}

void readValue(const ConfigurationSetting& setting, const char* text,
               QUORVEL_APP_SETTINGS& settings) {
    if (setting.rule == ConfigurationRule::notRestored) {
        return;
    }
    switch (setting.type) {
    case ConfigurationField::flag:
        storeField(settings, setting, Numbers_toInt(text) != 0);
        break;
    case ConfigurationField::integer:
        storeField(settings, setting, checkedInteger(setting, Numbers_toInt(text)));
        break;
    case ConfigurationField::decimal: {
        const double value = Numbers_toDouble(text, nullptr);
        storeField(settings, setting, std::isfinite(value) ? value : setting.fallback);
        break;
    }
    }
}

bool readLegacyLine(const char* line, QUORVEL_APP_SETTINGS& settings) {
    if (!startsWith(line, legacyDisplayModeKey)) {
        return false;
    }
    const auto mode =
        static_cast<TimeGraphMode>(Numbers_toInt(line + strlen(legacyDisplayModeKey) + 1));
    for (GraphSettings_t& graph : settings.graphSettings) {
        graph.displayMode = mode;
    }
    return true;
}

/// Takes a line that has been cut at its first blank; the value starts one character behind the
/// key. False when no key matches.
bool readLine(const char* line, QUORVEL_APP_SETTINGS& settings) {
    // Before the table, whose "displayGraph" would match it too.
    if (readLegacyLine(line, settings)) {
        return true;
    }
    for (const ConfigurationSetting& setting : settingsTable) {
        if (lineHasKey(line, setting.key)) {
            readValue(setting, line + strlen(setting.key) + 1, settings);
            return true;
        }
    }
    return false;
}

} // namespace

void ConfigurationFile_write(FILE* file, const QUORVEL_APP_SETTINGS& settings) {
    const ScopedNumberLocale locale;
    for (const ConfigurationSetting& setting : settingsTable) {
        switch (setting.type) {
        case ConfigurationField::flag:
            fprintf(file, "%s %d\n", setting.key, loadField<bool>(settings, setting) ? 1 : 0);
            break;
        case ConfigurationField::integer:
            fprintf(file, "%s %d\n", setting.key, loadField<int>(settings, setting));
            break;
        case ConfigurationField::decimal:
            fprintf(file, "%s %f\n", setting.key, loadField<double>(settings, setting));
            break;
        }
    }
}

void ConfigurationFile_read(FILE* file, QUORVEL_APP_SETTINGS& settings,
                            bool (*readOther)(const char* line)) {
    // The buffer holds zeroes behind each line, because a key without a value is followed by its
    // terminator only.
    char line[longestLine + 3] = "";
    while (fgets(line, longestLine + 1, file) != nullptr) {
        // A line that begins with a blank is empty once it has been cut at its first blank.
        const bool isEmpty = line[0] == ' ' || strtok(line, wordSeparators) == nullptr;
        if (!isEmpty && !readLine(line, settings) && readOther != nullptr) {
            readOther(line);
        }
        memset(line, 0, sizeof line);
    }
}
