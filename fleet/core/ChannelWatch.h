#ifndef FLEET_CORE_CHANNEL_WATCH_H
#define FLEET_CORE_CHANNEL_WATCH_H

#include "ChannelLimits.h"
#include "MeterDialogue.h"
#include "RowMaker.h"
#include "StoreRule.h"

#include <optional>
#include <string>
#include <vector>

/// What the service makes of the polls of one channel: readings to store, and events.

struct ChannelEvent {
    std::string kind; ///< as in "sensor came"
    std::string detail;
};

struct ChannelWatch {
    ChannelLimits limits;
    double offset_dB = 0;
    MeterChannelState state = MeterChannelState::noSensor;
    std::string sensor; ///< model and serial number
    RowMaker row;
    StoreRule stored;
    ChannelLimitStates limitStates;
    FleetReading shown; ///< the last reading, offset applied; its time is 0 where there is none
    uint64_t gaps = 0;  ///< polls that gave no reading although there is a sensor
};

struct ChannelNews {
    std::vector<ChannelEvent> events;
    std::vector<FleetReading> readings; ///< as they were measured, without the offset
};

/// Takes a poll of the channel. `endsRow` is true for the last poll before a reading is to be
/// stored.
ChannelNews ChannelWatch_take(ChannelWatch& watch, const MeterChannel& channel, bool endsRow);

/// A poll that gave nothing: the row so far is stored, if it is to end here.
ChannelNews ChannelWatch_miss(ChannelWatch& watch, bool endsRow);

#endif
