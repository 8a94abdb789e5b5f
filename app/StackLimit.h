#ifndef APP_STACK_LIMIT_H
#define APP_STACK_LIMIT_H

#include <sys/resource.h>

/// Soft stack limit that the program asks for: 32 MiB.
constexpr rlim_t stackLimitWanted_bytes = 33554432;

/// True when the soft limit is lower than what the program asks for.
constexpr bool StackLimit_isTooLow(const rlimit& limit) {
    return limit.rlim_cur < stackLimitWanted_bytes;
}

/// Raises the soft stack limit where it is too low; the hard limit stays. A failure is told on
/// standard error and start-up goes on. Main thread.
void StackLimit_raise();

#endif
