#include "LineProtocol.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int64_t time_ms = 1795305068123;

FleetReading reading(const std::string& sensor = "5132") {
    FleetReading made{time_ms, "20260001", 2, sensor, "513200417", FleetReading_noValues()};
    made.values[fleetForward] = 25.5;
    return made;
}

std::string lineOf(const FleetReading& made, const ReadingLabels& labels = {},
                   LineTime time = LineTime::milliseconds) {
    std::string text;
    LineProtocol_append(text, made, labels, time);
    return text;
}

TEST(LineProtocol, AReadingIsALineWithItsOwnTime) {
    FleetReading made = reading();
    made.values[fleetForwardMin] = 0;
    made.values[fleetState1Mean] = 1e-7;
    EXPECT_EQ("quorvel,channel=2,meter=20260001,sensor=5132,sensor_serial=513200417 "
              "forward_W=25.5,forward_min_W=0,state1_mean_W=1e-07 1795305068123\n",
              lineOf(made));
    EXPECT_TRUE(lineOf(made, {}, LineTime::nanoseconds).ends_with(" 1795305068123000000\n"));
}

TEST(LineProtocol, NamesAndPlacesAreTagsAndTheOffsetIsApplied) {
    FleetReading made = reading();
    made.values[fleetVswr] = 1.5;
    EXPECT_EQ("quorvel,channel=2,meter=20260001,name=Transmitter\\ A,place=Hall\\ 2,sensor=5132,"
              "sensor_serial=513200417 forward_W=255,vswr=1.5 1795305068123\n",
              lineOf(made, {"Transmitter A", "Hall 2", 10}));
}

TEST(LineProtocol, TextsOfStrangersStayWithinTheirTag) {
    const struct {
        const char* sensor;
        const char* tag;
    } cases[] = {
        {"a,b=c d", "sensor=a\\,b\\=c\\ d,"},
        {"51\"32'<script>alert(1)</script>%s%n", "sensor=51\"32'<script>alert(1)</script>%s%n,"},
        {"x\nquorvel forward_W=1 1", "sensor=x?quorvel\\ forward_W\\=1\\ 1,"},
        {"tab\tand\r", "sensor=tab?and?,"},
        {"5132\\", "sensor=5132/,"}, // would hide the comma behind it
        {"\xc3\xa4", "sensor=\xc3\xa4,"},
    };
    for (const auto& row : cases) {
        const std::string line = lineOf(reading(row.sensor));
        EXPECT_NE(std::string::npos, line.find(row.tag)) << line;
        EXPECT_EQ(line.size() - 1, line.find('\n'));
    }
}

TEST(LineProtocol, AnEmptyTextIsNoTag) {
    FleetReading made = reading("");
    made.sensorSerial.clear();
    EXPECT_EQ("quorvel,channel=2,meter=20260001 forward_W=25.5 1795305068123\n", lineOf(made));
}

TEST(LineProtocol, WhatIsNoNumberIsNotSaid) {
    FleetReading made = reading();
    made.values[fleetForward] = std::numeric_limits<double>::infinity();
    EXPECT_EQ("", lineOf(made));
    made.values[fleetReflected] = 0.5;
    EXPECT_TRUE(lineOf(made).ends_with(" reflected_W=0.5 1795305068123\n"));
}

} // namespace
