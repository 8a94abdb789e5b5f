#include "Cable.h"

#include <limits>

namespace {

constexpr int64_t patience_ns = 5'000'000'000;

} // namespace

void Cable_collect(const Cable& cable, const Terminal& from, const Terminal& to,
                   std::vector<pollfd>& waiting) {
    if (cable.rest.empty()) {
        waiting.push_back({from.master, POLLIN, 0});
    } else {
        waiting.push_back({to.master, POLLOUT, 0});
    }
}

int64_t Cable_nextDue_ns(const Cable& cable) {
    return cable.rest.empty() ? std::numeric_limits<int64_t>::max() : cable.since_ns + patience_ns;
}

void Cable_carry(Cable& cable, const Terminal& from, const Terminal& to, int64_t now_ns) {
    if (cable.rest.empty()) {
        cable.rest = Terminal_read(from);
        cable.since_ns = now_ns;
    }
    const size_t taken = cable.rest.empty() ? 0 : Terminal_write(to, cable.rest);
    if (taken > 0) {
        cable.rest.erase(0, taken);
        cable.since_ns = now_ns;
        cable.isDeaf = false;
    }
    if (cable.isDeaf || now_ns >= Cable_nextDue_ns(cable)) {
        cable.isDeaf = true;
        cable.rest.clear();
    }
}
