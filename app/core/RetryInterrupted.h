#ifndef APP_CORE_RETRY_INTERRUPTED_H
#define APP_CORE_RETRY_INTERRUPTED_H

#include <cerrno>

/// Makes a system call, again and again as long as a signal interrupts it; returns its result.
/// Not for close, which must not be repeated on Linux.
template <typename Call> auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

#endif
