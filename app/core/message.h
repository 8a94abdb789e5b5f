#ifndef APP_CORE_MESSAGE_H
#define APP_CORE_MESSAGE_H

#include <syslog.h>

/// Formats a message and passes it to the system log with the given priority. Any thread.
void diagnostic_message(int priority, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// The same, for messages that are meant for the user or the service technician. Any thread.
void user_message(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// The part of a source path that diagnostics show: the file's name without its directory.
constexpr const char* message_fileName(const char* path) {
    const char* name = path;
    for (const char* at = path; *at != '\0'; ++at) {
        if (*at == '/') {
            name = at + 1;
        }
    }
    return name;
}

/// Writes "DIAGNOSTIC:file:line:function(): " and the text, debug priority. The text's own line
/// ends are part of it.
#define DIAGNOSTIC(format, ...)                                                                    \
    diagnostic_message(LOG_DEBUG, "DIAGNOSTIC:%s:%d:%s(): " format, message_fileName(__FILE__),    \
                       __LINE__, __func__ __VA_OPT__(, ) __VA_ARGS__)

/// Writes a warning for the user.
#define USER_WARNING(format, ...)                                                                  \
    user_message(LOG_WARNING, "USER_WARNING:  " format __VA_OPT__(, ) __VA_ARGS__)

/// Writes an error for the user.
#define USER_ERROR(format, ...)                                                                    \
    user_message(LOG_ERR, "USER_ERROR: " format __VA_OPT__(, ) __VA_ARGS__)

#endif
