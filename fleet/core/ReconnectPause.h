#ifndef FLEET_CORE_RECONNECT_PAUSE_H
#define FLEET_CORE_RECONNECT_PAUSE_H

#include <cstdint>

/// How long a meter that could not be reached is left alone: twice as long after each failure, from
/// half a second to a minute, scattered so that a thousand meters that vanished together are not
/// called back together.
struct ReconnectPause {
    uint32_t failures = 0;
    uint32_t random = 1; ///< never 0
};

ReconnectPause ReconnectPause_create(uint32_t seed);

/// After a failure: the pause in milliseconds, between a half and one and a half of its mean.
int64_t ReconnectPause_next_ms(ReconnectPause& pause);

/// After success.
void ReconnectPause_reset(ReconnectPause& pause);

#endif
