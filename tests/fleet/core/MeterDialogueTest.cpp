#include "MeterDialogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <map>

namespace {

using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int64_t utc_ms = 1795305068123;
const std::string identity = "QUORVEL-TECHNOLOGIES,8830K,20260001,1.0 with, commas";
const std::string noSensor = "-220,\"Parameter error;No sensor connected on the channel\"";
const std::string cwMode = "-100,\"Command error;The command is not valid in CW mode.\"";

/// Answers as the meter does: a query that is not in the table gives nothing and leaves an error.
struct FakeMeter {
    std::map<std::string, std::string> answers;
    std::map<std::string, std::string> refusals; ///< errors other than an empty channel's
    std::deque<std::string> errors;
    std::vector<std::string> lines; ///< that came in
    bool separates = true;          ///< puts the separator before an answer that does not come

    std::string answerOne(const std::string& query) {
        if (query == "*OPC?") {
            return "1";
        }
        if (query == "*IDN?") {
            return identity;
        }
        if (query == "SYST:ERR?") {
            if (errors.empty()) {
                return "0,\"No error\"";
            }
            const std::string error = errors.front();
            errors.pop_front();
            return error;
        }
        if (answers.contains(query)) {
            return answers[query];
        }
        errors.push_back(refusals.contains(query) ? refusals[query] : noSensor);
        return "";
    }

    std::string answerLine(const std::string& line) {
        std::string reply;
        size_t at = 0;
        while (at <= line.size()) {
            const size_t end = std::min(line.find(";:", at), line.size());
            const std::string answer = answerOne(line.substr(at, end - at));
            const bool isSeparated = !reply.empty() && (separates || !answer.empty());
            reply += (isSeparated ? ";" : "") + answer;
            at = end + 2;
        }
        return reply.empty() ? "" : reply + "\r\n";
    }

    std::string answer(const std::string& request) {
        std::string replies;
        size_t at = 0;
        while (at < request.size()) {
            const size_t end = request.find('\n', at);
            lines.push_back(request.substr(at, end - at));
            replies += answerLine(lines.back());
            at = end + 1;
        }
        return replies;
    }

    void plug(const std::string& channel, const std::string& model) {
        answers["MEAS:AVER? " + channel] = "25";
        answers["MEAS:REFL:AVER? " + channel] = "0.5";
        answers["MEAS:FREQ? " + channel] = "13.5600004196167";
        answers["MEAS:TEMP? " + channel] = "36.5";
        answers["SYST:IDEN:SENS? " + channel] = model;
        answers["SYST:IDEN:SENS:SN? " + channel] = "77012";
    }

    void pulse(const std::string& channel) {
        for (const char* query :
             {"DCYC?", "PER?", "PRF?", "WIDT?", "GATE?", "GATE:MAX?", "GATE:MIN?"}) {
            answers["MEAS:" + std::string(query) + " " + channel] = std::to_string(pulseValue++);
        }
    }
    int pulseValue = 10;
};

MeterStep poll(MeterDialogue& dialogue, FakeMeter& meter, int64_t monotonic_ms) {
    std::string request = MeterDialogue_begin(dialogue, monotonic_ms);
    for (;;) {
        const MeterStep step =
            MeterDialogue_receive(dialogue, meter.answer(request), utc_ms, request);
        if (step != MeterStep::asksMore) {
            return step;
        }
    }
}

struct MeterDialogueTest : testing::Test {
    MeterDialogue dialogue;
    FakeMeter meter;

    const FleetValues& values(size_t channel = 0) {
        return dialogue.channels[channel].reading.values;
    }
    MeterChannelState state(size_t channel = 0) {
        return dialogue.channels[channel].state;
    }
};

TEST_F(MeterDialogueTest, ReadsASensorInItsFirstPoll) {
    meter.plug("1", "5132");
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    const FleetReading& reading = dialogue.channels[0].reading;
    EXPECT_EQ(MeterChannelState::measuring, state());
    EXPECT_EQ("20260001", dialogue.serial);
    EXPECT_EQ("8830K", dialogue.model);
    EXPECT_EQ("1.0 with, commas", dialogue.firmware);
    EXPECT_EQ(utc_ms, reading.time_ms);
    EXPECT_EQ("20260001", reading.meter);
    EXPECT_EQ(1, reading.channel);
    EXPECT_EQ("5132", reading.sensor);
    EXPECT_EQ("77012", reading.sensorSerial);
    EXPECT_EQ(25, reading.values[fleetForward]);
    EXPECT_EQ(25, reading.values[fleetForwardMin]);
    EXPECT_EQ(25, reading.values[fleetForwardMax]);
    EXPECT_EQ(0.5, reading.values[fleetReflected]);
    EXPECT_EQ(13.5600004196167, reading.values[fleetFrequency]);
    EXPECT_EQ(36.5, reading.values[fleetTemperature]);
    EXPECT_NEAR(1.329, reading.values[fleetVswr], 0.001);
    EXPECT_TRUE(std::isnan(reading.values[fleetDuty]));
    EXPECT_EQ(MeterChannelState::noSensor, state(1));
}

TEST_F(MeterDialogueTest, OnlyEverAsks) {
    meter.plug("1", "3164");
    meter.pulse("1");
    meter.plug("2", "5132");
    for (int64_t now_ms = 0; now_ms < 5000; now_ms += 100) {
        ASSERT_EQ(MeterStep::done, poll(dialogue, meter, now_ms));
    }
    for (const std::string& line : meter.lines) {
        EXPECT_LT(line.size(), 255U);
        for (size_t at = 0, end = 0; at <= line.size(); at = end + 2) {
            end = std::min(line.find(";:", at), line.size());
            const std::string query = line.substr(at, end - at);
            EXPECT_THAT(query.substr(0, query.find(' ')), EndsWith("?")) << line;
        }
    }
}

TEST_F(MeterDialogueTest, AnEmptyChannelIsAskedForOnceASecond) {
    meter.plug("1", "5132");
    for (int64_t now_ms = 0; now_ms < 1000; now_ms += 100) {
        poll(dialogue, meter, now_ms);
    }
    const auto asksForTwo = [](const std::string& line) { return line.ends_with(" 2"); };
    EXPECT_EQ(4, std::ranges::count_if(meter.lines, asksForTwo));
    meter.plug("2", "5133");
    poll(dialogue, meter, 1000);
    EXPECT_EQ(MeterChannelState::measuring, state(1));
    EXPECT_EQ("5133", dialogue.channels[1].reading.sensor);
}

TEST_F(MeterDialogueTest, ErrorsAreReadOnlyAfterAQueryThatGaveNothing) {
    meter.plug("1", "5132");
    meter.plug("2", "5132");
    poll(dialogue, meter, 0);
    EXPECT_THAT(meter.lines, Each(Not(HasSubstr("ERR"))));
    meter.answers.erase("MEAS:REFL:AVER? 2");
    poll(dialogue, meter, 100);
    EXPECT_THAT(meter.lines, Contains("SYST:ERR?"));
    EXPECT_TRUE(meter.errors.empty());
}

TEST_F(MeterDialogueTest, ErrorsThatOthersHaveLeftAreReadAway) {
    meter.plug("1", "5132");
    for (int i = 0; i < 12; ++i) {
        meter.errors.push_back("-113,\"Undefined header;BOGUS\"");
    }
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    EXPECT_TRUE(meter.errors.empty());
    EXPECT_EQ(MeterChannelState::noSensor, state(1));
    EXPECT_EQ("-113,\"Undefined header;BOGUS\"", dialogue.lastError);
}

TEST_F(MeterDialogueTest, AnErrorQueueWithoutAnEndEndsThePoll) {
    meter.plug("1", "5132");
    for (int i = 0; i < 5000; ++i) {
        meter.errors.push_back("-350,\"Queue overflow\"");
    }
    EXPECT_EQ(MeterStep::done, poll(dialogue, meter, 0));
}

TEST_F(MeterDialogueTest, NanIsAGap) {
    meter.plug("1", "5132");
    poll(dialogue, meter, 0);
    meter.answers["MEAS:AVER? 1"] = "nan";
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 100));
    EXPECT_EQ(MeterChannelState::silent, state());
    EXPECT_EQ("5132", dialogue.channels[0].reading.sensor);
    EXPECT_TRUE(std::isnan(values()[fleetForwardMax]));
    EXPECT_TRUE(std::isnan(values()[fleetVswr]));
}

TEST_F(MeterDialogueTest, ASensorThatLeavesTakesItsNameAlong) {
    meter.plug("1", "5132");
    poll(dialogue, meter, 0);
    meter.answers.clear();
    poll(dialogue, meter, 100);
    EXPECT_EQ(MeterChannelState::noSensor, state());
    EXPECT_EQ("", dialogue.channels[0].reading.sensor);
    meter.plug("1", "5134");
    poll(dialogue, meter, 1100);
    EXPECT_EQ("5134", dialogue.channels[0].reading.sensor);
}

TEST_F(MeterDialogueTest, ARefusalOfAnotherKindIsSilence) {
    meter.refusals["MEAS:AVER? 1"] = meter.refusals["MEAS:FREQ? 1"] = "-311,\"Memory error\"";
    meter.plug("2", "5132");
    meter.plug("1", "5132");
    for (const char* query : {"MEAS:AVER? 1", "MEAS:FREQ? 1", "MEAS:TEMP? 1"}) {
        meter.answers.erase(query);
        meter.refusals[query] = "-311,\"Memory error\"";
    }
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    EXPECT_EQ(MeterChannelState::silent, state());
    EXPECT_EQ("-311,\"Memory error\"", dialogue.lastError);
}

TEST_F(MeterDialogueTest, ASensorThatLeavesInTheMiddleOfALineGivesNoReading) {
    for (const char* query : {"MEAS:AVER? 1", "MEAS:FREQ? 1", "MEAS:TEMP? 1"}) {
        meter.plug("1", "5132");
        meter.answers.erase(query);
        MeterDialogue fresh;
        ASSERT_EQ(MeterStep::done, poll(fresh, meter, 0));
        EXPECT_EQ(MeterChannelState::noSensor, fresh.channels[0].state);
        EXPECT_TRUE(meter.errors.empty());
    }
}

TEST_F(MeterDialogueTest, ASeparatorBeforeNothingMayBeMissing) {
    meter.separates = false;
    meter.plug("1", "3164");
    meter.pulse("1");
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    EXPECT_EQ(MeterChannelState::measuring, state());
    EXPECT_EQ(16, values()[fleetGateMin]);
    EXPECT_EQ(MeterChannelState::noSensor, state(1));
}

TEST_F(MeterDialogueTest, ASensorWithoutANameHasAnEmptyOne) {
    meter.plug("1", "");
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    EXPECT_EQ(MeterChannelState::measuring, state());
    EXPECT_EQ("", dialogue.channels[0].reading.sensor);
}

TEST_F(MeterDialogueTest, PulseValuesComeInTheFirstPoll) {
    meter.plug("1", "3164");
    meter.pulse("1");
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    EXPECT_EQ(10, values()[fleetDuty]);
    EXPECT_EQ(11, values()[fleetPeriod]);
    EXPECT_EQ(12, values()[fleetPrf]);
    EXPECT_EQ(13, values()[fleetWidth]);
    EXPECT_EQ(14, values()[fleetGateMean]);
    EXPECT_EQ(15, values()[fleetGateMax]);
    EXPECT_EQ(16, values()[fleetGateMin]);
    EXPECT_TRUE(std::isnan(values()[fleetState1Mean]));
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 100));
    EXPECT_EQ(16, values()[fleetGateMin]);
}

TEST_F(MeterDialogueTest, ValuesOfStatesComeInTheOrderOfTheirColumns) {
    meter.plug("2", "3165");
    int value = 100;
    for (const char* state : {"1", "2", "3", "4"}) {
        for (const char* kind : {"?", ":MAX?", ":MIN?"}) {
            meter.answers["MEAS:STAT" + std::string(state) + kind + " 2"] = std::to_string(value++);
        }
    }
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    for (size_t i = 0; i < 12; ++i) {
        EXPECT_EQ(100.0 + static_cast<double>(i), values(1)[fleetState1Mean + i]);
    }
}

TEST_F(MeterDialogueTest, OutOfPulseModeTheProbeIsMadeOnceASecond) {
    meter.plug("1", "3164");
    meter.plug("2", "5132");
    meter.refusals["MEAS:DCYC? 1"] = meter.refusals["MEAS:STAT1? 1"] = cwMode;
    for (int64_t now_ms = 0; now_ms < 1000; now_ms += 100) {
        ASSERT_EQ(MeterStep::done, poll(dialogue, meter, now_ms));
    }
    EXPECT_EQ(1, std::ranges::count(meter.lines, "*OPC?;:MEAS:DCYC? 1"));
    EXPECT_EQ(0, std::ranges::count(meter.lines, "*OPC?;:MEAS:PER? 1"));
    EXPECT_EQ(MeterChannelState::measuring, state());
    meter.pulse("1");
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 1000));
    EXPECT_EQ(11, values()[fleetPeriod]);
}

TEST_F(MeterDialogueTest, PulseValuesGoWithThePulseMode) {
    meter.plug("1", "3164");
    meter.pulse("1");
    poll(dialogue, meter, 0);
    for (const char* query : {"DCYC", "PER", "PRF", "WIDT", "GATE", "GATE:MAX", "GATE:MIN"}) {
        meter.answers.erase("MEAS:" + std::string(query) + "? 1");
    }
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 100));
    EXPECT_EQ(MeterChannelState::measuring, state());
    EXPECT_TRUE(std::isnan(values()[fleetDuty]));
    meter.lines.clear();
    poll(dialogue, meter, 200);
    EXPECT_THAT(meter.lines, Each(Not(HasSubstr("DCYC"))));
}

TEST_F(MeterDialogueTest, CwSensorsAreNotAskedForPulses) {
    meter.plug("1", "5132");
    poll(dialogue, meter, 0);
    EXPECT_THAT(meter.lines, Each(Not(HasSubstr("DCYC"))));
}

TEST_F(MeterDialogueTest, SensorTextsMayHoldAnything) {
    meter.plug("1", "51;32,\"x\" <script>%s\x01");
    ASSERT_EQ(MeterStep::done, poll(dialogue, meter, 0));
    EXPECT_EQ("51;32,\"x\" <script>%s?", dialogue.channels[0].reading.sensor);
}

TEST_F(MeterDialogueTest, AnswersMayComeByteByByte) {
    meter.plug("1", "5132");
    meter.plug("2", "5132");
    std::string request = MeterDialogue_begin(dialogue, 0);
    const std::string replies = meter.answer(request);
    for (size_t i = 0; i < replies.size(); ++i) {
        const MeterStep step =
            MeterDialogue_receive(dialogue, replies.substr(i, 1), utc_ms, request);
        ASSERT_EQ(i + 1 == replies.size() ? MeterStep::done : MeterStep::waits, step) << i;
    }
    EXPECT_EQ(25, values(1)[fleetForward]);
}

TEST_F(MeterDialogueTest, ALostAnswerIsNoticedWhicheverItIs) {
    meter.plug("1", "5132");
    meter.plug("2", "5132");
    const std::string replies = meter.answer(MeterDialogue_begin(dialogue, 0));
    const auto lines = std::ranges::count(replies, '\n');
    for (int64_t lost = 0; lost < lines; ++lost) {
        MeterDialogue fresh;
        std::string request = MeterDialogue_begin(fresh, 0);
        std::string less = replies;
        size_t at = 0;
        for (int64_t i = 0; i < lost; ++i) {
            at = less.find('\n', at) + 1;
        }
        less.erase(at, less.find('\n', at) + 1 - at);
        const MeterStep step = MeterDialogue_receive(fresh, less, utc_ms, request);
        EXPECT_EQ(lost + 1 == lines ? MeterStep::waits : MeterStep::broken, step) << lost;
    }
}

TEST_F(MeterDialogueTest, AShiftedAnswerIsNoticed) {
    meter.plug("1", "5132");
    std::string request = MeterDialogue_begin(dialogue, 0);
    const std::string replies = meter.answer(request);
    EXPECT_EQ(MeterStep::broken,
              MeterDialogue_receive(dialogue, "1;25\r\n" + replies, utc_ms, request));
    MeterDialogue_reconnect(dialogue);
    request = MeterDialogue_begin(dialogue, 0);
    EXPECT_EQ(MeterStep::broken,
              MeterDialogue_receive(dialogue, replies + "25\r\n", utc_ms, request));
    MeterDialogue_reconnect(dialogue);
    request = MeterDialogue_begin(dialogue, 0);
    EXPECT_EQ(MeterStep::broken, MeterDialogue_receive(dialogue, replies + "2", utc_ms, request));
}

TEST_F(MeterDialogueTest, WhatComesUnaskedIsNoticed) {
    meter.plug("1", "5132");
    poll(dialogue, meter, 0);
    std::string request;
    EXPECT_EQ(MeterStep::broken, MeterDialogue_receive(dialogue, "1\r\n", utc_ms, request));
}

TEST_F(MeterDialogueTest, GarbageIsNoticed) {
    std::string request;
    for (const std::string& garbage :
         {std::string("\r\n"), std::string("hello\r\n"), std::string("1;x;2;3\r\n"),
          std::string("1;1;2;3;4\r\n"), std::string("1;inf;1;1\n"), std::string("11\n"),
          std::string(100000, 'x'), identity + "\r\n"}) {
        MeterDialogue fresh;
        request = MeterDialogue_begin(fresh, 0);
        EXPECT_EQ(MeterStep::broken, MeterDialogue_receive(fresh, garbage, utc_ms, request))
            << garbage.substr(0, 40);
    }
}

TEST_F(MeterDialogueTest, AnIdentityThatIsNoneIsNoMarker) {
    for (const char* marker :
         {"1\r\n", "a,b,c\r\n", ",8830K,1,1\r\n", "a,,1,1\r\n", "1;2,3,4,5\r\n"}) {
        MeterDialogue fresh;
        fresh.channels[0].isKnown = fresh.channels[1].isKnown = true;
        std::string request = MeterDialogue_begin(fresh, 0);
        ASSERT_EQ("*IDN?\n", request);
        EXPECT_EQ(MeterStep::broken, MeterDialogue_receive(fresh, marker, utc_ms, request))
            << marker;
    }
}

TEST_F(MeterDialogueTest, ANewConnectionAsksForEverythingAtOnce) {
    meter.plug("1", "5132");
    poll(dialogue, meter, 0);
    MeterDialogue_reconnect(dialogue);
    meter.answers["SYST:IDEN:SENS? 1"] = "5134";
    poll(dialogue, meter, 10);
    EXPECT_EQ("5134", dialogue.channels[0].reading.sensor);
}

} // namespace
