#ifndef FLEET_LINK_METER_POOL_H
#define FLEET_LINK_METER_POOL_H

#include "FleetLoop.h"
#include "MeterAddress.h"
#include "MeterDialogue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// The connections to all meters, and the times at which each is polled. A meter serves one client
/// at a time: where it is polled every 5 s or more rarely, it is left alone between the polls.

struct MeterTarget {
    MeterAddress address;
    int64_t interval_ms = 1000; ///< between polls
    bool holds = false;         ///< keeps the connection, however rare the polls
};

/// What became of a poll that was due. Each one is reported once, in its order.
struct MeterPoll {
    size_t meter = 0;                        ///< the index that MeterPool_add gave
    int64_t number = 0;                      ///< counts the polls that were due, from 0
    const MeterDialogue* dialogue = nullptr; ///< the answers; none where the poll gave nothing
};

struct MeterPoolHandlers {
    std::function<void(const MeterPoll&)> polled;
    /// The meter answers again, or no more, for this reason.
    std::function<void(size_t meter, bool isThere, const std::string& why)> changed;
};

/// A meter's connection over time.
struct MeterCounts {
    uint64_t polls = 0;      ///< that were answered
    uint64_t missed = 0;     ///< that were due and gave nothing
    uint64_t reconnects = 0; ///< after the connection was lost
};

struct MeterPool;

/// `answerTime_ms` is the time that connecting and each answer may take.
std::shared_ptr<MeterPool> MeterPool_create(const std::shared_ptr<FleetLoop>& loop,
                                            MeterPoolHandlers handlers,
                                            int64_t answerTime_ms = 5000);

/// Polls one more meter from now on; the first poll is somewhere in its first interval, so that not
/// all meters are polled at once. Returns its index.
size_t MeterPool_add(MeterPool& pool, const MeterTarget& target);

/// Hangs up for good: the meter is neither polled nor reported any more. Its index stays taken.
void MeterPool_drop(MeterPool& pool, size_t meter);

/// Asks for the meter's screen, after the poll that is under way or, where the meter is left alone,
/// due next; a poll that is due meanwhile comes later. `done` is called once, on the loop, with a
/// PNG file or with "" where there is none. False if the meter is not there or is asked already.
bool MeterPool_askPicture(MeterPool& pool, size_t meter,
                          std::function<void(const std::string& png)> done);

/// Hangs up everywhere; nothing is reported any more.
void MeterPool_stop(MeterPool& pool);

const MeterDialogue& MeterPool_dialogue(const MeterPool& pool, size_t meter);
const MeterCounts& MeterPool_counts(const MeterPool& pool, size_t meter);
bool MeterPool_isThere(const MeterPool& pool, size_t meter);

/// UTC of the readings, see FleetClock.
int64_t MeterPool_utc_ms(const MeterPool& pool);

#endif
