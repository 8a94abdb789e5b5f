// The system log: every message becomes a line "<priority> text" of the world's syslog file.

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldPath.h"
#include "WorldTree.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

namespace {

void recordMessage(int priority, const char* text) {
    char prefix[16];
    snprintf(prefix, sizeof prefix, "<%d> ", LOG_PRI(priority));
    PreloadWorld_appendLine(WorldFile::syslog, prefix, text);
}

/// "%m" in the format means errno as the caller had it.
void composeAndRecord(int priority, const char* format, va_list arguments) {
    const int keptErrno = errno;
    // setlogmask(0) only asks for the mask.
    if ((LOG_MASK(LOG_PRI(priority)) & setlogmask(0)) == 0) {
        return;
    }
    char shortText[1024];
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(shortText, sizeof shortText, format, arguments);
    if (length < static_cast<int>(sizeof shortText)) {
        recordMessage(priority, shortText);
    } else if (char* const text = static_cast<char*>(malloc(static_cast<size_t>(length) + 1))) {
        errno = keptErrno;
        vsnprintf(text, static_cast<size_t>(length) + 1, format, again);
        recordMessage(priority, text);
        free(text);
    }
    va_end(again);
    errno = keptErrno;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

void vsyslog(int priority, const char* format, va_list arguments) {
    static NextFunction<void(int, const char*, va_list)> next("vsyslog");
    if (PreloadWorld_folder() == nullptr) {
        next(priority, format, arguments);
    } else {
        composeAndRecord(priority, format, arguments);
    }
}

void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

void __vsyslog_chk(int priority, int, const char* format, va_list arguments) {
    vsyslog(priority, format, arguments);
}

void __syslog_chk(int priority, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

} // extern "C"
#pragma GCC visibility pop
