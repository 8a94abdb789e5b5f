// The settings file's reader: any bytes give a record that can be written, and read back the same.
#include "ConfigurationFile.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool takeValue(const char* /*line*/) {
    strtok(nullptr, " \n\r");
    return true;
}

QUORVEL_APP_SETTINGS readFrom(std::string text) {
    QUORVEL_APP_SETTINGS settings;
    if (!text.empty()) {
        FILE* file = fmemopen(text.data(), text.size(), "r");
        ConfigurationFile_read(file, settings, takeValue);
        fclose(file);
    }
    return settings;
}

std::string textOf(const QUORVEL_APP_SETTINGS& settings) {
    char* text = nullptr;
    size_t length = 0;
    FILE* file = open_memstream(&text, &length);
    ConfigurationFile_write(file, settings);
    fclose(file);
    std::string result(text, length);
    free(text);
    return result;
}

/// A limit with many digits is cut at the end of the reader's line.
bool fitsTheReader(const std::string& text) {
    constexpr size_t longestLine = 63;
    for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
        if (text.find('\n', at) - at >= longestLine) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QUORVEL_APP_SETTINGS settings =
        readFrom(std::string(reinterpret_cast<const char*>(data), size));
    const std::string text = textOf(settings);
    if (settings.scale[0][0].scaleIndex > rfPowerScaleMaxIndex ||
        settings.gatedPowerScale[1].scaleIndex > rfPowerScaleMaxIndex ||
        (fitsTheReader(text) && textOf(readFrom(text)) != text)) {
        abort();
    }
    return 0;
}
