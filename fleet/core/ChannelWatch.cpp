#include "ChannelWatch.h"

#include "FleetText.h"

#include <utility>

namespace {

double measuredOf(const FleetValues& values, size_t kind) {
    return values[kind == limitForwardLow    ? fleetForwardMin
                  : kind == limitForwardHigh ? fleetForwardMax
                                             : fleetVswr];
}

/// As in "forward_high_W 100: 104.2".
std::string limitText(const ChannelLimits& limits, size_t kind, const FleetValues& values) {
    const auto limit = static_cast<LimitKind>(kind);
    return std::string(ChannelLimits_name(limit)) + " " +
           FleetText_number(ChannelLimits_limit(limits, limit).value_or(0)) + ": " +
           FleetText_number(measuredOf(values, kind));
}

void checkLimits(ChannelWatch& watch, ChannelNews& news) {
    const unsigned changed = ChannelLimits_check(watch.limits, watch.limitStates, watch.shown);
    for (size_t kind = 0; kind < limitKindCount; ++kind) {
        if ((changed >> kind & 1U) != 0) {
            const bool isExceeded = watch.limitStates.states[kind].isExceeded;
            news.events.push_back({isExceeded ? "limit exceeded" : "limit kept",
                                   limitText(watch.limits, kind, watch.shown.values)});
        }
    }
}

void endRow(ChannelWatch& watch, ChannelNews& news) {
    std::optional<FleetReading> row = RowMaker_take(watch.row);
    if (row && StoreRule_take(watch.stored, *row)) {
        news.readings.push_back(std::move(*row));
    }
}

/// Who is plugged in now, and who was. A sensor that has not told who it is yet, as just after it
/// was plugged in, has not come yet.
void noteSensor(ChannelWatch& watch, const MeterChannel& channel, ChannelNews& news) {
    const bool hasSensor = channel.state != MeterChannelState::noSensor;
    if (hasSensor && channel.reading.sensor.empty()) {
        return;
    }
    const std::string sensor =
        hasSensor ? channel.reading.sensor + " " + channel.reading.sensorSerial : "";
    if (sensor == watch.sensor) {
        return;
    }
    if (watch.sensor.ends_with(' ') && sensor.starts_with(watch.sensor)) {
        watch.sensor = sensor; // the same one, which tells its serial number a little later
        watch.shown.sensorSerial = channel.reading.sensorSerial;
        return;
    }
    if (!watch.sensor.empty()) {
        news.events.push_back({"sensor left", watch.sensor});
        endRow(watch, news);
        watch.limitStates = {};
    }
    if (!sensor.empty()) {
        news.events.push_back({"sensor came", sensor});
    }
    watch.sensor = sensor;
    watch.shown = {};
    watch.shown.sensor = channel.reading.sensor;
    watch.shown.sensorSerial = channel.reading.sensorSerial;
}

void noteState(ChannelWatch& watch, const MeterChannel& channel, ChannelNews& news) {
    const MeterChannelState before = std::exchange(watch.state, channel.state);
    if (channel.state == MeterChannelState::silent && before != MeterChannelState::silent) {
        news.events.push_back({"silent", watch.sensor});
    } else if (channel.state == MeterChannelState::measuring &&
               before == MeterChannelState::silent) {
        news.events.push_back({"measuring", watch.sensor});
    }
}

} // namespace

ChannelNews ChannelWatch_take(ChannelWatch& watch, const MeterChannel& channel, bool endsRow) {
    ChannelNews news;
    noteSensor(watch, channel, news);
    noteState(watch, channel, news);
    // A channel that was not asked in this poll has no new reading.
    if (channel.state == MeterChannelState::measuring && channel.isAsked) {
        RowMaker_add(watch.row, channel.reading);
        watch.shown = channel.reading;
        ChannelLimits_applyOffset(watch.shown.values, watch.offset_dB);
        checkLimits(watch, news);
    }
    watch.gaps += channel.state == MeterChannelState::silent ? 1 : 0;
    if (endsRow) {
        endRow(watch, news);
    }
    return news;
}

ChannelNews ChannelWatch_miss(ChannelWatch& watch, bool endsRow) {
    ChannelNews news;
    watch.gaps += watch.state == MeterChannelState::noSensor ? 0 : 1;
    if (endsRow) {
        endRow(watch, news);
    }
    return news;
}
