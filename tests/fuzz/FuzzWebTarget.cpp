// What a stranger may ask the companion's HTTP server for.

#include "FleetText.h"
#include "WebTarget.h"

#include <cstdlib>

namespace {

constexpr int64_t now_ms = 1'800'000'000'000;

void check(bool isRight) {
    if (!isRight) {
        abort();
    }
}

bool isWhole(const std::string& text) {
    for (size_t at = 0; at < text.size();) {
        const size_t length = FleetText_characterLength(std::string_view(text).substr(at));
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto target = WebTarget_parse({reinterpret_cast<const char*>(data), size});
    if (!target) {
        return 0;
    }
    check(!target->path.empty());
    for (const std::string& piece : target->path) {
        check(isWhole(piece));
    }
    HistoryQuery query;
    std::string error;
    check(WebTarget_readReadings(*target, now_ms, query, error) == error.empty() && isWhole(error));
    check(!error.empty() || (query.channel >= 1 && query.channel <= 2 && query.step_ms >= 0 &&
                             query.from_ms < query.to_ms));
    HistoryQuery events;
    check(WebTarget_readEvents(*target, now_ms, events, error) == error.empty() && isWhole(error));
    check(!error.empty() || events.limit >= 1);
    return 0;
}
