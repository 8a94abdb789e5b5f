#ifndef FLEET_CORE_FLEET_VIEW_H
#define FLEET_CORE_FLEET_VIEW_H

#include "ChannelWatch.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// All meters as they are known now, for those who look on.

struct ChannelView {
    MeterChannelState state = MeterChannelState::noSensor;
    FleetReading reading; ///< the last one, offset applied; its time is 0 where there is none
    double offset_dB = 0;
    ChannelLimits limits;
    ChannelLimitStates limitStates;
    uint64_t gaps = 0;
};

struct MeterView {
    std::string meter; ///< serial number, or the address of a meter that has not told it yet
    std::string address;
    std::string name;
    std::string place;
    std::string model;
    std::string firmware;
    bool isThere = false;
    uint64_t reconnects = 0;
    std::array<ChannelView, meterChannelCount> channels;
};

/// How readings go on to a time-series database; counts are since the program's start.
struct ExportView {
    bool isWell = false;   ///< the receiver has taken the last batch
    uint64_t waiting = 0;  ///< readings that it has not taken yet
    uint64_t exported = 0; ///< readings
    uint64_t leftOut = 0;  ///< readings that it refused, or that waited for too long
};

struct FleetView {
    int64_t time_ms = 0; ///< UTC
    std::vector<MeterView> meters;
    std::vector<std::string> dropped;   ///< addresses that are watched no more, for who knows them
    std::optional<ExportView> exported; ///< nothing where there is no export
};

/// "measuring", "silent", "no sensor" or "gone".
const char* FleetView_channelState(const MeterView& meter, size_t channel);

/// The state of all its channels in a word: that which matters most.
const char* FleetView_meterState(const MeterView& meter);

/// The limit of this kind; nothing where there is none.
std::optional<double> FleetView_limit(const ChannelView& channel, size_t kind);

/// Seconds since a reading, never negative.
double FleetView_age_s(int64_t now_ms, int64_t reading_ms);

#endif
