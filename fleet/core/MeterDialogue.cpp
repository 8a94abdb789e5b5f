#include "MeterDialogue.h"

#include "FleetText.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr int64_t probePause_ms = 1000;
constexpr size_t longestLine = 512;
constexpr size_t usualLine = 48; ///< of a request
constexpr size_t mostRounds = 8;
constexpr size_t errorQueueSize = 17;
constexpr size_t powerQueries = 3;         ///< in one line
constexpr std::string_view answered = "1"; ///< to the "*OPC?" at the begin of each line
constexpr std::string_view answeredNothing = "1;";
constexpr std::string_view noSensorError = "No sensor connected on the channel";
constexpr std::string_view pulseFamily = "316";
constexpr std::array<const char*, 3> stateNames{"no sensor", "silent", "measuring"};

struct ValueQuery {
    FleetValue value;
    const char* header;
};

// The meter looks for the words in which these headers differ anywhere in the line: one query a
// line. The first of each group tells whether there is any answer to the group.
constexpr ValueQuery pulseQueries[] = {
    {fleetDuty, "MEAS:DCYC?"},        {fleetPeriod, "MEAS:PER?"},
    {fleetPrf, "MEAS:PRF?"},          {fleetWidth, "MEAS:WIDT?"},
    {fleetGateMean, "MEAS:GATE?"},    {fleetGateMax, "MEAS:GATE:MAX?"},
    {fleetGateMin, "MEAS:GATE:MIN?"},
};
constexpr FleetValue stateValue(size_t offset) {
    return static_cast<FleetValue>(fleetState1Mean + offset);
}
constexpr ValueQuery stateQueries[] = {
    {stateValue(0), "MEAS:STAT1?"},      {stateValue(1), "MEAS:STAT1:MAX?"},
    {stateValue(2), "MEAS:STAT1:MIN?"},  {stateValue(3), "MEAS:STAT2?"},
    {stateValue(4), "MEAS:STAT2:MAX?"},  {stateValue(5), "MEAS:STAT2:MIN?"},
    {stateValue(6), "MEAS:STAT3?"},      {stateValue(7), "MEAS:STAT3:MAX?"},
    {stateValue(8), "MEAS:STAT3:MIN?"},  {stateValue(9), "MEAS:STAT4?"},
    {stateValue(10), "MEAS:STAT4:MAX?"}, {stateValue(11), "MEAS:STAT4:MIN?"},
};

struct QueryGroup {
    const ValueQuery* first;
    size_t count;
};
constexpr std::array<QueryGroup, meterGroupCount> groups{{
    {pulseQueries, std::size(pulseQueries)},
    {stateQueries, std::size(stateQueries)},
}};

const char* headerOf(FleetValue value) {
    for (const QueryGroup& group : groups) {
        for (size_t i = 0; i < group.count; ++i) {
            if (group.first[i].value == value) {
                return group.first[i].header;
            }
        }
    }
    return "";
}

/// Appends the line, piece by piece: every poll of every meter has some.
void appendLine(std::string& text, const MeterQuestion& question) {
    const char* channel = question.channel == 0 ? " 1" : " 2";
    switch (question.kind) {
    case MeterQuestionKind::power:
        text.append("*OPC?;:MEAS:AVER?").append(channel).append(";:MEAS:FREQ?").append(channel);
        text.append(";:MEAS:TEMP?").append(channel);
        break;
    case MeterQuestionKind::reflected:
        text.append("*OPC?;:MEAS:REFL:AVER?").append(channel);
        break;
    case MeterQuestionKind::sensor:
        text.append("*OPC?;:SYST:IDEN:SENS?").append(channel);
        break;
    case MeterQuestionKind::sensorSerial:
        text.append("*OPC?;:SYST:IDEN:SENS:SN?").append(channel);
        break;
    case MeterQuestionKind::value:
        text.append("*OPC?;:").append(headerOf(question.value)).append(channel);
        break;
    case MeterQuestionKind::error:
        text.append("SYST:ERR?");
        break;
    case MeterQuestionKind::marker:
        text.append("*IDN?");
        break;
    }
    text += '\n';
}

void ask(MeterDialogue& dialogue, MeterQuestionKind kind, size_t channel,
         FleetValue value = fleetForward) {
    dialogue.questions.push_back({kind, static_cast<uint8_t>(channel), value});
}

void askGroup(MeterDialogue& dialogue, size_t channel, size_t group, size_t first) {
    for (size_t i = first; i < groups[group].count; ++i) {
        ask(dialogue, MeterQuestionKind::value, channel, groups[group].first[i].value);
    }
    dialogue.channels[channel].isGroupAsked[group] = true;
}

/// The questions with their marker, as one request.
std::string requestText(MeterDialogue& dialogue) {
    ask(dialogue, MeterQuestionKind::marker, 0);
    dialogue.next = 0;
    ++dialogue.rounds;
    std::string text;
    text.reserve(dialogue.questions.size() * usualLine);
    for (const MeterQuestion& question : dialogue.questions) {
        appendLine(text, question);
    }
    return text;
}

void beginChannel(MeterDialogue& dialogue, size_t index, int64_t monotonic_ms) {
    MeterChannel& channel = dialogue.channels[index];
    const bool isProbeDue = !channel.isKnown || monotonic_ms - channel.probed_ms >= probePause_ms;
    channel.isProbed = isProbeDue;
    channel.isAsked = isProbeDue || channel.state != MeterChannelState::noSensor;
    channel.hasAnswered = false;
    channel.isGroupProbed = {};
    channel.isGroupAsked = {};
    if (!channel.isAsked) {
        return;
    }
    channel.reading.values = FleetReading_noValues();
    ask(dialogue, MeterQuestionKind::power, index);
    ask(dialogue, MeterQuestionKind::reflected, index);
    if (isProbeDue) {
        channel.probed_ms = monotonic_ms;
        channel.isKnown = true;
        ask(dialogue, MeterQuestionKind::sensor, index);
        ask(dialogue, MeterQuestionKind::sensorSerial, index);
    }
    for (size_t group = 0; group < meterGroupCount; ++group) {
        if (channel.answersGroup[group]) {
            askGroup(dialogue, index, group, 0);
        }
    }
}

/// What the answers so far make worth asking in the same poll.
void askFurther(MeterDialogue& dialogue, size_t index) {
    MeterChannel& channel = dialogue.channels[index];
    const bool mayPulse =
        channel.isProbed && channel.hasAnswered && channel.reading.sensor.starts_with(pulseFamily);
    for (size_t group = 0; mayPulse && group < meterGroupCount; ++group) {
        if (channel.isGroupAsked[group]) {
            continue;
        }
        if (!channel.isGroupProbed[group]) {
            channel.isGroupProbed[group] = true;
            ask(dialogue, MeterQuestionKind::value, index, groups[group].first->value);
        } else if (channel.answersGroup[group]) {
            askGroup(dialogue, index, group, 1);
        }
    }
}

void forgetSensor(MeterChannel& channel) {
    channel.reading.sensor.clear();
    channel.reading.sensorSerial.clear();
    channel.answersGroup = {};
}

void finishChannel(MeterDialogue& dialogue, size_t index) {
    MeterChannel& channel = dialogue.channels[index];
    if (!channel.isAsked) {
        return;
    }
    channel.reading.meter = dialogue.serial;
    channel.reading.channel = static_cast<int>(index) + 1;
    FleetValues& values = channel.reading.values;
    if (!channel.hasAnswered) {
        const bool isRefused = !dialogue.lastError.empty() && !dialogue.saysNoSensor;
        channel.state = isRefused ? MeterChannelState::silent : MeterChannelState::noSensor;
        forgetSensor(channel);
    } else if (std::isnan(values[fleetForward])) {
        channel.state = MeterChannelState::silent;
    } else {
        channel.state = MeterChannelState::measuring;
    }
    values[fleetForwardMin] = values[fleetForwardMax] = values[fleetForward];
    values[fleetReflectedMin] = values[fleetReflectedMax] = values[fleetReflected];
    values[fleetVswr] = FleetReading_vswr(values[fleetForward], values[fleetReflected]);
}

MeterStep endRound(MeterDialogue& dialogue, std::string& request) {
    if (!dialogue.input.empty()) {
        return MeterStep::broken; // more than was asked for
    }
    dialogue.questions.clear();
    for (size_t index = 0; index < meterChannelCount; ++index) {
        askFurther(dialogue, index);
    }
    // One more than there must be, so that the last one says that there is none; older errors may
    // stand before them.
    for (size_t i = 0; dialogue.unread > 0 && i < std::min(dialogue.unread + 1, errorQueueSize);
         ++i) {
        ask(dialogue, MeterQuestionKind::error, 0);
    }
    if (!dialogue.questions.empty() && dialogue.rounds < mostRounds) {
        request = requestText(dialogue);
        return MeterStep::asksMore;
    }
    for (size_t index = 0; index < meterChannelCount; ++index) {
        finishChannel(dialogue, index);
    }
    return MeterStep::done;
}

/// Numbers separated by ';'. Nothing if one of them is none; a query that gave nothing leaves an
/// empty place or none at all, and the count is less.
template <size_t count>
std::optional<size_t> readNumbers(std::string_view text, std::array<double, count>& numbers) {
    size_t found = 0;
    for (;;) {
        const size_t end = text.find(';');
        const std::string_view field = text.substr(0, end);
        if (!field.empty()) {
            const std::optional<double> number = FleetText_parseNumber(field);
            if (!number || found == count) {
                return {};
            }
            numbers[found++] = *number;
        }
        if (end == std::string_view::npos) {
            return found;
        }
        text.remove_prefix(end + 1);
    }
}

/// Forward power, frequency and temperature; fewer where the sensor left between them.
bool takePower(MeterDialogue& dialogue, MeterChannel& channel, std::string_view text,
               int64_t utc_ms) {
    std::array<double, powerQueries> numbers{};
    const std::optional<size_t> count = readNumbers(text, numbers);
    if (!count) {
        return false;
    }
    if (*count < numbers.size()) {
        dialogue.unread += numbers.size() - *count;
        return true;
    }
    channel.reading.time_ms = utc_ms;
    channel.reading.values[fleetForward] = numbers[0];
    channel.reading.values[fleetFrequency] = numbers[1];
    channel.reading.values[fleetTemperature] = numbers[2];
    channel.hasAnswered = true;
    return true;
}

bool takeNumber(MeterChannel& channel, FleetValue value, std::string_view text) {
    std::array<double, 1> number{};
    if (readNumbers(text, number) != number.size()) {
        return false;
    }
    channel.reading.values[value] = number[0];
    return true;
}

/// Whether the sensor answers to the group, which the answer to its first question tells.
void noteGroup(MeterChannel& channel, FleetValue value, bool answers) {
    for (size_t group = 0; group < meterGroupCount; ++group) {
        if (groups[group].first->value == value) {
            channel.answersGroup[group] = answers;
        }
    }
}

void takeNothing(MeterDialogue& dialogue, const MeterQuestion& question) {
    dialogue.unread += question.kind == MeterQuestionKind::power ? powerQueries : 1;
    MeterChannel& channel = dialogue.channels[question.channel];
    switch (question.kind) {
    case MeterQuestionKind::value:
        noteGroup(channel, question.value, false);
        break;
    case MeterQuestionKind::sensor:
        channel.reading.sensor.clear();
        break;
    case MeterQuestionKind::sensorSerial:
        channel.reading.sensorSerial.clear();
        break;
    default:
        break;
    }
}

/// An answer to a line that began with "*OPC?".
bool takeAnswer(MeterDialogue& dialogue, const MeterQuestion& question, std::string_view line,
                int64_t utc_ms) {
    // The separator stands before an answer that does not come, or is missing as well.
    if (line == answered || line == answeredNothing) {
        takeNothing(dialogue, question);
        return true;
    }
    if (!line.starts_with(answeredNothing)) {
        return false;
    }
    MeterChannel& channel = dialogue.channels[question.channel];
    const std::string_view text = line.substr(answeredNothing.size());
    switch (question.kind) {
    case MeterQuestionKind::power:
        return takePower(dialogue, channel, text, utc_ms);
    case MeterQuestionKind::reflected:
        return takeNumber(channel, fleetReflected, text);
    case MeterQuestionKind::sensor:
        channel.reading.sensor = FleetText_clean(text);
        return true;
    case MeterQuestionKind::sensorSerial:
        channel.reading.sensorSerial = FleetText_clean(text);
        return true;
    default:
        noteGroup(channel, question.value, true);
        return takeNumber(channel, question.value, text);
    }
}

bool takeError(MeterDialogue& dialogue, std::string_view line) {
    const size_t comma = line.find(',');
    if (comma == std::string_view::npos || !FleetText_parseNumber(line.substr(0, comma))) {
        return false;
    }
    if (line.starts_with("0,")) {
        dialogue.unread = 0;
        return true;
    }
    dialogue.unread = std::max<size_t>(dialogue.unread, 2) - 1;
    if (line.find(noSensorError) == std::string_view::npos) {
        dialogue.lastError = FleetText_clean(line);
    } else {
        dialogue.saysNoSensor = true;
    }
    return true;
}

/// "MAKER,MODEL,SERIAL,FIRMWARE". It is mostly the same as last time.
bool takeMarker(MeterDialogue& dialogue, std::string_view line) {
    if (line == dialogue.identity) {
        return true;
    }
    const std::string_view identity = line;
    std::array<std::string_view, 3> fields;
    for (std::string_view& field : fields) {
        const size_t comma = line.find(',');
        if (comma == 0 || comma == std::string_view::npos) {
            return false;
        }
        field = line.substr(0, comma);
        line.remove_prefix(comma + 1);
    }
    dialogue.model = FleetText_clean(fields[1]);
    dialogue.serial = FleetText_clean(fields[2]);
    dialogue.firmware = FleetText_clean(line);
    if (fields[0].starts_with(answered)) {
        return false;
    }
    dialogue.identity = identity;
    return true;
}

bool takeLine(MeterDialogue& dialogue, std::string_view line, int64_t utc_ms) {
    if (dialogue.next >= dialogue.questions.size()) {
        return false; // nothing was asked
    }
    const MeterQuestion question = dialogue.questions[dialogue.next];
    ++dialogue.next;
    switch (question.kind) {
    case MeterQuestionKind::error:
        return takeError(dialogue, line);
    case MeterQuestionKind::marker:
        return takeMarker(dialogue, line);
    default:
        return takeAnswer(dialogue, question, line, utc_ms);
    }
}

/// Takes the first whole line out of the bytes; what an earlier call has left stands before it.
std::optional<std::string_view> nextLine(MeterDialogue& dialogue, std::string_view& bytes) {
    const size_t end = bytes.find('\n');
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    if (end == std::string_view::npos) {
        dialogue.input += line;
        return {};
    }
    if (!dialogue.input.empty()) {
        dialogue.input += line;
        dialogue.line.swap(dialogue.input);
        dialogue.input.clear();
        line = dialogue.line;
    }
    return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

} // namespace

const char* MeterDialogue_stateName(MeterChannelState state) {
    return stateNames.at(static_cast<size_t>(state));
}

void MeterDialogue_reconnect(MeterDialogue& dialogue) {
    dialogue.input.clear();
    dialogue.questions.clear();
    dialogue.next = 0;
    for (MeterChannel& channel : dialogue.channels) {
        channel.isKnown = false;
    }
}

std::string MeterDialogue_begin(MeterDialogue& dialogue, int64_t monotonic_ms) {
    dialogue.questions.clear();
    dialogue.rounds = 0;
    dialogue.unread = 0;
    dialogue.lastError.clear();
    dialogue.saysNoSensor = false;
    for (size_t index = 0; index < meterChannelCount; ++index) {
        beginChannel(dialogue, index, monotonic_ms);
    }
    return requestText(dialogue);
}

MeterStep MeterDialogue_receive(MeterDialogue& dialogue, std::string_view bytes, int64_t utc_ms,
                                std::string& request) {
    while (const std::optional<std::string_view> line = nextLine(dialogue, bytes)) {
        if (!takeLine(dialogue, *line, utc_ms)) {
            return MeterStep::broken;
        }
        if (dialogue.next == dialogue.questions.size()) {
            dialogue.input = bytes; // nothing, unless the meter says more than it was asked
            return endRound(dialogue, request);
        }
    }
    return dialogue.input.size() > longestLine ? MeterStep::broken : MeterStep::waits;
}
