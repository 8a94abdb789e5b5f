#ifndef APP_CORE_LOG_MANAGER_H
#define APP_CORE_LOG_MANAGER_H

/// Categories of the debug trace. A category is off until "/tmp/logConfig" names it, and the trace
/// reaches standard output only while "/tmp/debug" exists. No function of this module waits for who
/// reads the trace, save LogManager_flush.
enum lmCategories : unsigned {
    NoCategory,
    ThreadMonitor,
    SensorCommunications,
    SensorDetection,
    PowerManagement,
    I2CTransactions,
    TestSerialPort,
    BatteryMonitor,
    ScpiParser,
    SensorMmngr,
    AllCategories,
    CategoryCount
};

/// Opens the null device and switches every category off. Exits with status 1 if it cannot.
/// Main thread, once, before any other function of this module.
void LogManager_create();

/// Switches one category on or off; a category of CategoryCount or more is ignored. Any thread.
void LogManager_enable(unsigned category, bool flag);

/// Composes and writes a message if the category is on. Any thread.
void logManager_printToLog(unsigned category, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// The same, for NoCategory.
void logManager_fprintf_wrapper(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The same, but the text is written as it is: "%%" in it stays.
void logManager_fprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Writes a composed text to the current output. The text is formatted once more on its way:
/// "%%" comes out as "%"; any other conversion has no argument and is written as it stands.
void logManager_log_out(const char* text);

/// Waits until the trace so far has been written, a quarter of a second at most: false if somebody
/// has stopped reading it.
bool LogManager_flush();

/// Index of the category whose configuration name is exactly `name`, or -1.
int LookupCategory(const char* name);

/// Skips leading and cuts trailing white space in place; returns the start of what is left.
char* LogManager_trimwhitespace(char* text);

/// Switches on the categories that "/tmp/logConfig" names, one a line, and all others off.
void loadLogConfigFile();

/// One pass of the routing thread: chooses the output, then the categories.
void LogManager_route();

/// Thread: LogManager_route once a second, for ever.
void debugPrintfThread();

/// Hooks for tracing the log manager itself; they do nothing.
void LogManager_StringToConsole(const char* label, const char* text);
void LogManager_StringToConsole_Hex(const char* label, const char* text);
void LogManager_IntToConsole(const char* label, int value);

#endif
