#include "LogManager.h"

#include "ThreadWatch.h"
#include "Threads.h"
#include "TraceOutput.h"

#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr const char* traceMarkerFile = "/tmp/debug";
constexpr const char* configurationFile = "/tmp/logConfig";
constexpr uint32_t routingPeriod_ms = 1000;
constexpr uint32_t flushLimit_ms = 250;
constexpr size_t configurationLineSize = 100; // 99 characters and a terminator

/// Names by which the configuration file selects a category. AllCategories has none.
constexpr std::array<const char*, CategoryCount> categoryNames = {"None",
                                                                  "ThreadMonitor",
                                                                  "SensorCommunications",
                                                                  "SensorDetection",
                                                                  "PowerManagement",
                                                                  "I2CTransactions",
                                                                  "TestSerialPort",
                                                                  "BatteryMonitor",
                                                                  "ScpiParser",
                                                                  "SensorManager",
                                                                  nullptr};

using CategoryFlags = std::array<uint8_t, CategoryCount>;
constexpr CategoryFlags defaultCategories{};

std::array<std::atomic<uint8_t>, CategoryCount> enabledCategories{};
std::atomic<FILE*> outfp{nullptr}; // standard output or the null device
FILE* devNullFp = nullptr;

bool isEnabled(unsigned category) {
    return category < CategoryCount && enabledCategories[category].load(std::memory_order_relaxed);
}

/// Stores a finished choice of categories: a flag that stays on is never seen off in between.
void storeCategories(const CategoryFlags& flags) {
    for (size_t category = 0; category < flags.size(); ++category) {
        enabledCategories[category].store(flags[category], std::memory_order_relaxed);
    }
}

/// Nobody sees what goes to the null device, so nothing is sent there.
bool isTraceShown() {
    return outfp.load(std::memory_order_relaxed) == stdout;
}

void composeAndWrite(unsigned category, const char* format, va_list arguments) {
    if (!isEnabled(category)) {
        return;
    }
    char* text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) {
        logManager_log_out("Error while logging a message: Memory allocation failed.\n");
        return;
    }
    logManager_log_out(text);
    free(text);
}

} // namespace

void LogManager_create() {
    storeCategories(defaultCategories);
    // The mode is "rw" as ever, of which the C library takes the "r": what is written to the null
    // device goes nowhere in any case. The "e" closes it in child processes.
    devNullFp = fopen("/dev/null", "rwe");
    if (devNullFp == nullptr) {
        perror("devNullFp /dev/null is NULL");
        exit(EXIT_FAILURE);
    }
    outfp = devNullFp;
}

void LogManager_enable(unsigned category, bool flag) {
    if (category < CategoryCount) {
        enabledCategories[category].store(flag ? 1 : 0, std::memory_order_relaxed);
    }
}

void logManager_printToLog(unsigned category, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    composeAndWrite(category, format, arguments);
    va_end(arguments);
}

void logManager_fprintf_wrapper(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    composeAndWrite(NoCategory, format, arguments);
    va_end(arguments);
}

void logManager_fprintf(const char* format, ...) {
    if (!isEnabled(NoCategory) || !isTraceShown()) {
        return;
    }
    char* text = nullptr;
    va_list arguments;
    va_start(arguments, format);
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length >= 0) {
        TraceOutput_write(text, false);
        free(text);
    }
}

void logManager_log_out(const char* text) {
    if (isTraceShown()) {
        TraceOutput_write(text, true);
    }
}

bool LogManager_flush() {
    return TraceOutput_flush(flushLimit_ms);
}

int LookupCategory(const char* name) {
    for (size_t category = 0; category < categoryNames.size(); ++category) {
        if (categoryNames[category] != nullptr && strcmp(categoryNames[category], name) == 0) {
            return static_cast<int>(category);
        }
    }
    return -1;
}

char* LogManager_trimwhitespace(char* text) {
    while (isspace(static_cast<unsigned char>(*text)) != 0) {
        ++text;
    }
    char* end = text + strlen(text);
    while (end > text && isspace(static_cast<unsigned char>(end[-1])) != 0) {
        --end;
    }
    *end = '\0';
    return text;
}

void loadLogConfigFile() {
    CategoryFlags flags = defaultCategories;
    FILE* file = fopen(configurationFile, "re");
    if (file != nullptr) {
        char line[configurationLineSize];
        while (fgets(line, sizeof line, file) != nullptr) {
            const int category = LookupCategory(LogManager_trimwhitespace(line));
            if (category >= 0) {
                flags[static_cast<size_t>(category)] = 1;
            }
        }
        fclose(file);
    }
    storeCategories(flags);
}

void LogManager_route() {
    outfp = access(traceMarkerFile, R_OK) == 0 ? stdout : devNullFp;
    if (access(configurationFile, R_OK) == 0) {
        loadLogConfigFile();
    } else {
        storeCategories(defaultCategories);
    }
}

void debugPrintfThread() {
    for (;;) {
        ThreadWatch_beat();
        LogManager_route();
        Thread_sleep_ms(routingPeriod_ms);
    }
}

void LogManager_StringToConsole(const char* /*label*/, const char* /*text*/) {}
void LogManager_StringToConsole_Hex(const char* /*label*/, const char* /*text*/) {}
void LogManager_IntToConsole(const char* /*label*/, int /*value*/) {}
