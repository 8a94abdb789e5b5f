#include "RemoteCheck.h"

#include "BenchText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace {

constexpr const char* noError = "0,\"No error\"";
constexpr const char* noSensor = "-220,\"Parameter error;No sensor connected on the channel\"";
constexpr const char* badChannel = "-220,\"Parameter error;The channel number is not valid\"";
constexpr const char* serialSensor =
    "-100,\"Command error;The command is not supported for 513x CW sensors.\"";
constexpr const char* notInCw = "-100,\"Command error;The command is not valid in CW mode.\"";

/// One line that has exactly one line as its reply, and what is wrong with a reply: empty when it
/// is right.
struct Question {
    std::string kind;
    std::string line;
    std::function<std::string(const std::string& reply)> complaint;
};

std::string unlessEqual(const std::string& reply, const std::string& expected) {
    return reply == expected ? std::string() : "not " + expected;
}

Question fixed(const char* kind, const std::string& line, const std::string& expected) {
    return {kind, line,
            [expected](const std::string& reply) { return unlessEqual(reply, expected); }};
}

/// "25;0,"No error"" is a value; an error stands alone.
struct ValueReply {
    std::string value; ///< empty: none
    std::string error;
};

ValueReply split(const std::string& reply) {
    const bool hasValue = reply.ends_with(std::string(";") + noError);
    return hasValue ? ValueReply{reply.substr(0, reply.size() - std::string(noError).size() - 1),
                                 noError}
                    : ValueReply{{}, reply};
}

bool isNear(double value, double expected) {
    return std::abs(value - expected) <= std::abs(expected) * 2e-6 + 1.1e-7;
}

/// What a measurement of the channel's sensor may answer just now. Of the powers, the truth knows
/// the values before the present one; of the others it does not.
struct Acceptable {
    bool needsSensor;     ///< a sensor is there for certain
    bool needsNobody;     ///< nobody is there for certain
    bool mayBeUnmeasured; ///< no reading may have been taken yet
    bool isAnything;      ///< a fault makes readings up
    std::vector<double> values;
};

Acceptable acceptable(Soak& soak, int channel, bool isPower,
                      double (*valueOf)(const PortTruth&, const TruthValue&)) {
    const int port = Truth_portOfChannel(soak.truth, channel);
    const bool isSettled = Truth_isLayoutSettled(soak.truth);
    Acceptable result{isSettled && port >= 0, isSettled && port < 0, true, !isSettled, {}};
    if (port < 0) {
        return result;
    }
    const auto index = static_cast<size_t>(port);
    const PortTruth& sensor = soak.truth.ports.at(index);
    result.mayBeUnmeasured = !Truth_mustMeasure(soak.truth, index);
    result.isAnything = result.isAnything || !Truth_isHonest(soak.truth, index) ||
                        (!isPower && !Truth_isFollowed(soak.truth, index));
    for (const TruthValue& value : Truth_shownValues(soak.truth, index)) {
        result.values.push_back(valueOf(sensor, value));
    }
    return result;
}

std::string complaintOf(const Acceptable& expected, const std::string& reply) {
    const ValueReply got = split(reply);
    if (got.value.empty()) {
        return got.error == noSensor ? expected.needsSensor ? "there is a sensor" : ""
                                     : "an error that this query cannot have";
    }
    if (expected.needsNobody) {
        return "there is no sensor";
    }
    char* end = nullptr;
    const double value = strtod(got.value.c_str(), &end);
    if (*end != '\0') {
        return "not a number";
    }
    const bool isKnown = std::ranges::any_of(
        expected.values, [value](double known) { return isNear(value, known); });
    if (isKnown || expected.isAnything ||
        (expected.mayBeUnmeasured && (std::isnan(value) || value == 0))) {
        return {};
    }
    return expected.values.empty() ? "no value is true"
                                   : BenchText_format("not %.9g", expected.values.back());
}

Question measurement(Soak& soak, const char* kind, bool isPower, const char* query,
                     double (*valueOf)(const PortTruth&, const TruthValue&)) {
    const int channel = Soak_pick(soak, 0, 1);
    return {kind, BenchText_format("%s %d;:SYST:ERR?", query, channel + 1),
            [&soak, channel, isPower, before = acceptable(soak, channel, isPower, valueOf),
             valueOf](const std::string& reply) {
                // True when it was asked, or true by now.
                const std::string complaint = complaintOf(before, reply);
                return complaint.empty()
                           ? complaint
                           : complaintOf(acceptable(soak, channel, isPower, valueOf), reply);
            }};
}

Question sensorText(Soak& soak, const char* kind, const char* query, std::string PortTruth::*text) {
    const int channel = Soak_pick(soak, 0, 1);
    return {kind, BenchText_format("%s %d;:SYST:ERR?", query, channel + 1),
            [&soak, channel, text](const std::string& reply) -> std::string {
                const int port = Truth_portOfChannel(soak.truth, channel);
                const ValueReply got = split(reply);
                if (!Truth_isLayoutSettled(soak.truth)) {
                    return {};
                }
                if (port < 0) {
                    return unlessEqual(reply, noSensor);
                }
                const auto index = static_cast<size_t>(port);
                const PortTruth& sensor = soak.truth.ports.at(index);
                if (!sensor.isTitleKnown || !Truth_mustMeasure(soak.truth, index)) {
                    return got.error == noSensor ? "there is a sensor" : "";
                }
                return unlessEqual(got.value, sensor.*text);
            }};
}

/// Duty cycle: its conditions are those of all pulse readings.
Question dutyCycle(Soak& soak) {
    const int channel = Soak_pick(soak, 0, 1);
    return {"pulse reading", BenchText_format("MEAS:DCYC? %d;:SYST:ERR?", channel + 1),
            [&soak, channel](const std::string& reply) -> std::string {
                const int port = Truth_portOfChannel(soak.truth, channel);
                if (!Truth_isLayoutSettled(soak.truth) ||
                    !Truth_isPast(soak.truth, soak.settingsChanged, 2)) {
                    return {};
                }
                if (port < 0) {
                    return unlessEqual(reply, noSensor);
                }
                if (port == 0) {
                    return unlessEqual(reply, serialSensor);
                }
                if (!soak.settings.isPulse) {
                    return unlessEqual(reply, notInCw);
                }
                const auto index = static_cast<size_t>(port);
                const PortTruth& sensor = soak.truth.ports.at(index);
                if (!Truth_isUsb(index) || !Truth_isFollowed(soak.truth, index)) {
                    return {};
                }
                const double duty = sensor.width_s / sensor.period_s * 100;
                const double value = strtod(split(reply).value.c_str(), nullptr);
                return isNear(value, duty) ? std::string() : BenchText_format("not %.9g", duty);
            }};
}

/// A setting of the working copy is what it was set to; nothing is committed.
Question stagedFrequency(Soak& soak) {
    const int channel = Soak_pick(soak, 0, 1);
    const int frequency_MHz = Soak_pick(soak, 1, 100);
    const int port = Truth_portOfChannel(soak.truth, channel);
    return {"staged setting",
            BenchText_format("SENS:FREQ:AUTO OFF,%d;:SENS:FREQ %d,%d;:SENS:FREQ? %d;:SYST:ERR?",
                             channel + 1, frequency_MHz, channel + 1, channel + 1),
            [&soak, frequency_MHz, port](const std::string& reply) -> std::string {
                const bool hasCopy = port >= 0 && Truth_isUsb(static_cast<size_t>(port)) &&
                                     Truth_mustMeasure(soak.truth, static_cast<size_t>(port));
                if (!Truth_isLayoutSettled(soak.truth) || !hasCopy) {
                    return {}; // three errors may stand in the queue: they are cleared below
                }
                return RemoteCheck_isFrequency(reply, frequency_MHz)
                           ? std::string()
                           : "not " + std::to_string(frequency_MHz);
            }};
}

Question pulseMode(Soak& soak) {
    return {"pulse mode", "SYST:PULS?", [&soak](const std::string& reply) {
                return unlessEqual(reply, soak.settings.isPulse ? "1" : "0");
            }};
}

struct QuestionRow {
    int weight;
    Question (*make)(Soak& soak);
};

const std::array<QuestionRow, 13> questionRows{{
    {10,
     [](Soak& s) {
         return measurement(s, "forward power", true, "MEAS:AVER?",
                            [](const PortTruth&, const TruthValue& v) { return v.forward_W; });
     }},
    {8,
     [](Soak& s) {
         return measurement(s, "reflected power", true, "MEAS:REFL:AVER?",
                            [](const PortTruth&, const TruthValue& v) { return v.reflected_W; });
     }},
    {3,
     [](Soak& s) {
         return measurement(s, "temperature", false, "MEAS:TEMP?",
                            [](const PortTruth& p, const TruthValue&) { return p.temperature_C; });
     }},
    {3,
     [](Soak& s) {
         return measurement(
             s, "frequency", false, "MEAS:FREQ?",
             [](const PortTruth& p, const TruthValue&) { return p.frequency_Hz / 1e6; });
     }},
    {3, dutyCycle},
    {3,
     [](Soak& s) { return sensorText(s, "sensor model", "SYST:IDEN:SENS?", &PortTruth::model); }},
    {3,
     [](Soak& s) {
         return sensorText(s, "sensor serial number", "SYST:IDEN:SENS:SN?", &PortTruth::serial);
     }},
    {3, stagedFrequency},
    {2, pulseMode},
    {2, [](Soak& s) { return fixed("identity", "*IDN?", s.identity); }},
    {1, [](Soak&) { return fixed("version", "SYST:VERS?;*OPC?", "1999.0;1"); }},
    {1, [](Soak&) { return fixed("refused channel", "MEAS:AVER? 3;:SYST:ERR?", badChannel); }},
    {1,
     [](Soak&) {
         return fixed("unknown command", "BOGUS;:SYST:ERR?", "-113,\"Undefined header;BOGUS;\"");
     }},
}};

Question pickQuestion(Soak& soak) {
    int sum = 0;
    for (const QuestionRow& row : questionRows) {
        sum += row.weight;
    }
    int picked = Soak_pick(soak, 1, sum);
    for (const QuestionRow& row : questionRows) {
        picked -= row.weight;
        if (picked <= 0) {
            return row.make(soak);
        }
    }
    return pulseMode(soak);
}

std::string withoutEnd(std::string line) {
    while (line.ends_with('\n') || line.ends_with('\r')) {
        line.pop_back();
    }
    return line;
}

/// Errors that a question left behind go before the next one is asked.
void clearErrors(Soak& soak, Link& link) {
    std::string reply;
    do {
        reply = RemoteCheck_exchange(soak, link, "SYST:ERR?");
    } while (!reply.empty() && reply != noError);
}

void check(Soak& soak, Link& link, const char* name, const Question& question) {
    const auto line = link.readLine(soakReplyLimit_ms);
    if (!line) {
        Report_finding(soak.report, std::string("lost reply on ") + name, question.line);
        if (&link == &soak.tcp) {
            RemoteCheck_reconnect(soak);
        }
        return;
    }
    const std::string complaint = question.complaint(withoutEnd(*line));
    if (!complaint.empty()) {
        Report_finding(soak.report, "reply " + question.kind,
                       std::string(name) + ": " + question.line + " answered " + withoutEnd(*line) +
                           ": " + complaint);
    }
    Report_checked(soak.report, "reply " + question.kind);
    if (!line->ends_with(std::string(noError) + "\r\n") && question.kind == "staged setting") {
        clearErrors(soak, link);
    }
}

} // namespace

bool RemoteCheck_isFrequency(const std::string& reply, double frequency_MHz) {
    const ValueReply got = split(reply);
    return !got.value.empty() && isNear(strtod(got.value.c_str(), nullptr), frequency_MHz);
}

std::string RemoteCheck_exchange(Soak& soak, Link& link, const std::string& line, int limit_ms) {
    link.send(line + "\n");
    const auto reply = link.readLine(limit_ms);
    if (!reply) {
        Report_finding(soak.report, "lost reply to a command", line);
        return {};
    }
    Report_checked(soak.report, "reply to a command");
    return withoutEnd(*reply);
}

void RemoteCheck_ask(Soak& soak) {
    const Question first = pickQuestion(soak);
    soak.tcp.send(first.line + "\n");
    if (soak.protocol == SoakProtocol::scpi) {
        const Question second = pickQuestion(soak);
        soak.terminal.send(second.line + "\n");
        check(soak, soak.terminal, "the command port", second);
    }
    check(soak, soak.tcp, "TCP", first);
}

void RemoteCheck_burst(Soak& soak) {
    const int queries = Soak_pick(soak, 20, 400);
    Report_action(soak.report, "remote: burst", BenchText_format("%d queries at once", queries));
    std::string burst;
    for (int query = 0; query < queries; ++query) {
        burst += query % 3 == 0 ? "*OPC?\n" : query % 3 == 1 ? "SYST:VERS?\n" : "*IDN?\n";
    }
    soak.tcp.send(burst);
    for (int query = 0; query < queries; ++query) {
        const auto line = soak.tcp.readLine(soakReplyLimit_ms);
        const std::string expected = query % 3 == 0   ? "1"
                                     : query % 3 == 1 ? "1999.0"
                                                      : soak.identity;
        if (!line || withoutEnd(*line) != expected) {
            Report_finding(soak.report, "burst",
                           BenchText_format("reply %d of %d is %s", query, queries,
                                            line ? line->c_str() : "lost"));
            RemoteCheck_reconnect(soak);
            return;
        }
    }
    Report_checked(soak.report, "reply of a burst", static_cast<uint64_t>(queries));
}

void RemoteCheck_reconnect(Soak& soak) {
    if (!soak.tcp.connectTcp(soak.bench.world)) {
        Report_finding(soak.report, "TCP", "nobody listens");
    }
}

bool RemoteCheck_begin(Soak& soak) {
    RemoteCheck_reconnect(soak);
    soak.identity = RemoteCheck_exchange(soak, soak.tcp, "*IDN?");
    return soak.identity.starts_with("QUORVEL-TECHNOLOGIES,8830K,");
}
