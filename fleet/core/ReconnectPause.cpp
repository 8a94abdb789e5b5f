#include "ReconnectPause.h"

#include <algorithm>

namespace {

constexpr int64_t shortest_ms = 500;
constexpr int64_t longest_ms = 60'000;
constexpr uint32_t mostDoublings = 7; ///< beyond, the longest pause holds

/// Marsaglia's xorshift: enough to scatter.
uint32_t nextRandom(uint32_t& random) {
    random ^= random << 13;
    random ^= random >> 17;
    random ^= random << 5;
    return random;
}

} // namespace

ReconnectPause ReconnectPause_create(uint32_t seed) {
    // Neighbouring seeds are far apart, and none is 0.
    return {.failures = 0, .random = std::max<uint32_t>(seed * 2654435761U, 1)};
}

int64_t ReconnectPause_next_ms(ReconnectPause& pause) {
    const int64_t mean_ms =
        std::min(shortest_ms << std::min(pause.failures, mostDoublings), longest_ms);
    ++pause.failures;
    return mean_ms / 2 + static_cast<int64_t>(nextRandom(pause.random)) * mean_ms / UINT32_MAX;
}

void ReconnectPause_reset(ReconnectPause& pause) {
    pause.failures = 0;
}
