#include "FleetView.h"

#include <algorithm>

namespace {

constexpr const char* gone = "gone";

bool hasChannel(const MeterView& meter, MeterChannelState state) {
    return std::ranges::count(meter.channels, state, &ChannelView::state) > 0;
}

} // namespace

const char* FleetView_channelState(const MeterView& meter, size_t channel) {
    return meter.isThere ? MeterDialogue_stateName(meter.channels[channel].state) : gone;
}

const char* FleetView_meterState(const MeterView& meter) {
    if (!meter.isThere) {
        return gone;
    }
    for (const MeterChannelState state :
         {MeterChannelState::silent, MeterChannelState::measuring}) {
        if (hasChannel(meter, state)) {
            return MeterDialogue_stateName(state);
        }
    }
    return MeterDialogue_stateName(MeterChannelState::noSensor);
}

std::optional<double> FleetView_limit(const ChannelView& channel, size_t kind) {
    return ChannelLimits_limit(channel.limits, static_cast<LimitKind>(kind));
}

double FleetView_age_s(int64_t now_ms, int64_t reading_ms) {
    return static_cast<double>(std::max<int64_t>(now_ms - reading_ms, 0)) / 1000;
}
