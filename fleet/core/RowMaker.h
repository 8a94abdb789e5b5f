#ifndef FLEET_CORE_ROW_MAKER_H
#define FLEET_CORE_ROW_MAKER_H

#include "FleetReading.h"

#include <cstdint>
#include <optional>

/// Makes one row of the readings of one channel since the row before: mean, least and greatest of
/// the powers, so that a slow log misses no peak; everything else as it was last.
struct RowMaker {
    size_t count = 0; ///< readings since the last row
    FleetReading last;
    size_t forwardCount = 0;
    size_t reflectedCount = 0;
    double forwardSum = 0;
    double reflectedSum = 0;
    FleetValues extremes = FleetReading_noValues();
};

/// True for the last poll before a row is due. Polls are counted from 0.
bool RowMaker_endsRow(int64_t poll_ms, int64_t every_ms, int64_t poll);

/// True for the reading of another sensor than that of the row so far, which then is complete.
bool RowMaker_isOther(const RowMaker& maker, const FleetReading& reading);

void RowMaker_add(RowMaker& maker, const FleetReading& reading);

/// The row, with which the next one begins; nothing without a reading.
std::optional<FleetReading> RowMaker_take(RowMaker& maker);

#endif
