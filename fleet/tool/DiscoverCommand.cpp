#include "DiscoverCommand.h"

#include "DiscoverReport.h"
#include "MeterPool.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int64_t browseTime_ms = 5000;

struct Discovery {
    std::shared_ptr<FleetLoop> loop;
    std::vector<DiscoveredMeter> meters;
    size_t open = 0; ///< meters that have not answered yet
};

void settle(Discovery& discovery) {
    if (--discovery.open == 0) {
        FleetLoop_stop(*discovery.loop);
    }
}

bool isSettled(const DiscoveredMeter& meter) {
    return meter.dialogue || !meter.trouble.empty();
}

/// One poll of each meter; who does not answer is not asked again.
void askMeters(Discovery& discovery) {
    discovery.loop = FleetLoop_create();
    discovery.open = discovery.meters.size();
    const auto polled = [&discovery](const MeterPoll& poll) {
        DiscoveredMeter& meter = discovery.meters[poll.meter];
        if (poll.dialogue != nullptr && !isSettled(meter)) {
            meter.dialogue = *poll.dialogue;
            settle(discovery);
        }
    };
    const auto changed = [&discovery](size_t index, bool isThere, const std::string& why) {
        DiscoveredMeter& meter = discovery.meters[index];
        if (!isThere && !isSettled(meter)) {
            meter.trouble = why;
            settle(discovery);
        }
    };
    const auto pool = MeterPool_create(discovery.loop, {.polled = polled, .changed = changed});
    for (const DiscoveredMeter& meter : discovery.meters) {
        MeterPool_add(*pool, {meter.announced.address});
    }
    FleetLoop_onEnd(*discovery.loop, [&discovery] { FleetLoop_stop(*discovery.loop); });
    FleetLoop_run(*discovery.loop);
    MeterPool_stop(*pool);
}

} // namespace

int DiscoverCommand_run(const DiscoverOptions& options) {
    std::vector<AnnouncedMeter> announced;
    std::string error;
    if (!MeterBrowser_find(browseTime_ms, announced, error)) {
        fprintf(stderr, "quorvel-fleet: %s\n", error.c_str());
        return 1;
    }
    std::ranges::sort(announced, {}, &AnnouncedMeter::name);
    Discovery discovery;
    for (AnnouncedMeter& meter : announced) {
        discovery.meters.push_back({std::move(meter), {}, {}});
    }
    if (!discovery.meters.empty()) {
        askMeters(discovery);
    }
    const std::string text = options.isJson ? DiscoverReport_json(discovery.meters)
                                            : DiscoverReport_table(discovery.meters);
    fputs(text.c_str(), stdout);
    return 0;
}
