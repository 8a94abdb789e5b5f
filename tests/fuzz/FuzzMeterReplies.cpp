// What a stranger at a meter's address may answer. The first byte tells how the rest is cut.

#include "FleetCsv.h"
#include "MeterDialogue.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int64_t pollPause_ms = 300;

/// A row of CSV has one line feed, whatever the meter has said.
void checkRow(const FleetReading& reading) {
    std::string row;
    FleetCsv_append(row, reading);
    if (std::ranges::count(row, '\n') != 1) {
        abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const size_t piece = data[0] + size_t{1};
    std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    MeterDialogue dialogue;
    int64_t now_ms = 0;
    std::string request = MeterDialogue_begin(dialogue, now_ms);
    while (!bytes.empty()) {
        const std::string_view chunk = bytes.substr(0, piece);
        bytes.remove_prefix(chunk.size());
        const MeterStep step = MeterDialogue_receive(dialogue, chunk, now_ms, request);
        if (step == MeterStep::done) {
            checkRow(dialogue.channels[0].reading);
            checkRow(dialogue.channels[1].reading);
        } else if (step == MeterStep::broken) {
            MeterDialogue_reconnect(dialogue);
        }
        if (step == MeterStep::done || step == MeterStep::broken) {
            now_ms += pollPause_ms;
            request = MeterDialogue_begin(dialogue, now_ms);
        }
    }
    return 0;
}
