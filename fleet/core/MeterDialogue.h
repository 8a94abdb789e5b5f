#ifndef FLEET_CORE_METER_DIALOGUE_H
#define FLEET_CORE_METER_DIALOGUE_H

#include "FleetReading.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What is asked of a meter in one poll, and what its answers mean: texts only, no sockets. A meter
/// is only ever asked; nothing here changes a setting.
///
/// A query that fails answers nothing, and the answer to the next one would be taken for its own.
/// Therefore every line asks "*OPC?" first, whose "1" comes in any case, and each request ends with
/// "*IDN?", whose answer no other query can give: where it comes too early or not at all, an answer
/// was lost or shifted, and the connection is of no more use.

constexpr size_t meterChannelCount = 2;

enum class MeterChannelState {
    noSensor,
    silent, ///< a sensor without a reading, or a meter that refuses to tell: a gap
    measuring,
};

/// Groups of values that only some sensors have, and only in some modes.
enum MeterGroup : size_t { meterGroupPulse, meterGroupStates, meterGroupCount };

struct MeterChannel {
    MeterChannelState state = MeterChannelState::noSensor;
    FleetReading reading; ///< of the last poll that had one; texts as they are now

    // Between polls.
    bool isKnown = false; ///< has been probed since the connection was made
    std::array<bool, meterGroupCount> answersGroup{};
    int64_t probed_ms = 0; ///< monotonic: when everything was asked that is not asked in every poll

    // Of the poll that goes on.
    bool isAsked = false;
    bool isProbed = false;
    bool hasAnswered = false;
    std::array<bool, meterGroupCount> isGroupProbed{};
    std::array<bool, meterGroupCount> isGroupAsked{};
};

enum class MeterQuestionKind : uint8_t {
    power,
    reflected,
    sensor,
    sensorSerial,
    value,
    error,
    marker
};

struct MeterQuestion {
    MeterQuestionKind kind = MeterQuestionKind::marker;
    uint8_t channel = 0; ///< 0 or 1
    FleetValue value = fleetForward;
};

struct MeterDialogue {
    std::string serial; ///< of the meter, "" before the first poll
    std::string model;
    std::string firmware;
    std::string identity;  ///< the answer from which these texts are, as it came
    std::string lastError; ///< what it said of queries that gave nothing; "" for empty channels
    std::array<MeterChannel, meterChannelCount> channels;

    // Of the poll that goes on.
    std::vector<MeterQuestion> questions;
    size_t next = 0;   ///< the question whose answer comes next
    size_t rounds = 0; ///< requests of this poll
    size_t unread = 0; ///< errors that the meter holds because of this poll, at least
    bool saysNoSensor = false;
    std::string input; ///< begin of a line
    std::string line;  ///< the last one that came in pieces
};

enum class MeterStep {
    waits,    ///< for more bytes
    asksMore, ///< the next request is to be sent
    done,     ///< the poll is complete
    broken,   ///< an answer was lost, shifted or is none
};

/// "no sensor", "silent" or "measuring".
const char* MeterDialogue_stateName(MeterChannelState state);

/// Forgets what a connection has left. What is known of the meter stays, and is asked anew.
void MeterDialogue_reconnect(MeterDialogue& dialogue);

/// The first request of a poll. An empty channel, identities and values that were not there are
/// asked for once a second.
std::string MeterDialogue_begin(MeterDialogue& dialogue, int64_t monotonic_ms);

/// Takes bytes that came at a time; `request` is what asksMore sends.
MeterStep MeterDialogue_receive(MeterDialogue& dialogue, std::string_view bytes, int64_t utc_ms,
                                std::string& request);

#endif
