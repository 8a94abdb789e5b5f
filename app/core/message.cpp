#include "message.h"

#include <cstdarg>

// No identity and no facility is set up: the system's defaults, program name and user facility,
// apply.

void diagnostic_message(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

void user_message(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}
