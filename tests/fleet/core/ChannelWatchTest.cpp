#include "ChannelWatch.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct ChannelWatchTest : testing::Test {
    ChannelWatch watch;
    MeterChannel channel;
    int64_t time_ms = 0;
    std::string said; ///< kinds and details of the events, a line each
    std::vector<FleetReading> stored;

    void plug(const std::string& sensor, const std::string& serial) {
        channel.state = MeterChannelState::measuring;
        channel.isAsked = true;
        channel.reading = {0, "20260001", 1, sensor, serial, FleetReading_noValues()};
    }
    void note(ChannelNews news) {
        for (const ChannelEvent& event : news.events) {
            said += event.kind + "/" + event.detail + "\n";
        }
        stored.insert(stored.end(), news.readings.begin(), news.readings.end());
    }
    void measure(double forward_W, bool endsRow = true) {
        FleetValues& values = channel.reading.values;
        values[fleetForward] = values[fleetForwardMin] = values[fleetForwardMax] = forward_W;
        channel.reading.time_ms = time_ms += 100;
        note(ChannelWatch_take(watch, channel, endsRow));
    }
};

TEST_F(ChannelWatchTest, SensorsComeAndLeaveAndChange) {
    measure(0);
    EXPECT_EQ("", said);
    plug("5132", "77");
    measure(1);
    plug("5134", "78");
    measure(1);
    channel.state = MeterChannelState::noSensor;
    measure(1);
    EXPECT_EQ(
        "sensor came/5132 77\nsensor left/5132 77\nsensor came/5134 78\nsensor left/5134 78\n",
        said);
    EXPECT_EQ(2U, stored.size());
}

TEST_F(ChannelWatchTest, ASensorComesOnceAlthoughItTellsItsNameLater) {
    plug("", "");
    channel.state = MeterChannelState::silent;
    measure(std::nan(""));
    plug("", "");
    measure(1);
    plug("5132", "");
    measure(1);
    plug("5132", "77");
    measure(1);
    channel.state = MeterChannelState::noSensor;
    measure(1);
    EXPECT_EQ("silent/\nmeasuring/\nsensor came/5132 \nsensor left/5132 77\n", said);
}

TEST_F(ChannelWatchTest, SilenceIsToldOnceAndItsEnd) {
    plug("5132", "77");
    measure(1);
    channel.state = MeterChannelState::silent;
    measure(std::nan(""));
    measure(std::nan(""));
    channel.state = MeterChannelState::measuring;
    measure(2);
    EXPECT_EQ("sensor came/5132 77\nsilent/5132 77\nmeasuring/5132 77\n", said);
    EXPECT_EQ(2U, stored.size());
}

TEST_F(ChannelWatchTest, LimitsHoldForWhatTheOffsetMakesOfAReading) {
    watch.offset_dB = 20;
    watch.limits.forwardHigh_W = 1000;
    plug("5132", "77");
    measure(9);
    measure(12.5);
    measure(12.5);
    measure(9);
    EXPECT_EQ("sensor came/5132 77\nlimit exceeded/forward_high_W 1000: 1250\n"
              "limit kept/forward_high_W 1000: 900\n",
              said);
    EXPECT_EQ(12.5, stored[1].values[fleetForward]); // what is stored is what was measured
}

TEST_F(ChannelWatchTest, ARowOfManyPollsMissesNoPeakAndNoLimit) {
    watch.limits.forwardHigh_W = 100;
    plug("5132", "77");
    measure(10, false);
    measure(130, false);
    measure(10, true);
    ASSERT_EQ(1U, stored.size());
    EXPECT_EQ(50, stored[0].values[fleetForward]);
    EXPECT_EQ(130, stored[0].values[fleetForwardMax]);
    EXPECT_NE(std::string::npos, said.find("limit exceeded/forward_high_W 100: 130\n"));
}

TEST_F(ChannelWatchTest, ARowEndsThoughItsLastPollGaveNothing) {
    plug("5132", "77");
    measure(10, false);
    note(ChannelWatch_miss(watch, false));
    EXPECT_TRUE(stored.empty());
    note(ChannelWatch_miss(watch, true));
    EXPECT_EQ(1U, stored.size());
    note(ChannelWatch_miss(watch, true));
    EXPECT_EQ(1U, stored.size());
}

TEST_F(ChannelWatchTest, EqualReadingsAreStoredOnceASecond) {
    plug("5132", "77");
    for (int i = 0; i < 30; ++i) {
        measure(25);
    }
    EXPECT_EQ(3U, stored.size());
}

} // namespace
