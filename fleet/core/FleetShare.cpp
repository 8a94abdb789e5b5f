#include "FleetShare.h"

bool FleetShare_has(int64_t share, int64_t count, std::string_view serial) {
    // FNV-1a, which is the same everywhere; serial numbers often differ in their last digit only,
    // which the multiplication spreads and the folding brings down to the bits that decide.
    uint64_t hash = 14695981039346656037ULL;
    for (const char c : serial) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 1099511628211ULL;
    }
    hash ^= hash >> 32U;
    return hash % static_cast<uint64_t>(count) == static_cast<uint64_t>(share - 1);
}
