// Stands in for the clock and the waits of the code under test; the linker puts these functions in
// the place of the real ones.
#include "FuzzTime.h"

#include <cstdint>
#include <poll.h>

namespace {

constexpr uint32_t start_ms = 0xFFFF'0000U; // so that the clock wraps within a long input
uint32_t now_ms = start_ms;

} // namespace

void FuzzTime_reset() {
    now_ms = start_ms;
}

extern "C" {

/// getTime_ms: each reading takes a millisecond, so that no wait for a moment lasts for ever.
uint32_t __wrap__Z10getTime_msv() {
    return ++now_ms;
}

/// Thread_sleep_ms.
void __wrap__Z15Thread_sleep_msj(uint32_t time_ms) {
    now_ms += time_ms;
}

int __real_poll(pollfd* files, nfds_t count, int timeout_ms);

int __wrap_poll(pollfd* files, nfds_t count, int timeout_ms) {
    const int result = __real_poll(files, count, 0);
    if (result == 0 && timeout_ms > 0) {
        now_ms += static_cast<uint32_t>(timeout_ms);
    }
    return result;
}
}
