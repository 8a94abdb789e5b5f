#include "FleetCsv.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(FleetCsv, HasTheseColumnsInThisOrder) {
    EXPECT_EQ("time,meter,channel,sensor,sensor_serial,forward_W,forward_min_W,forward_max_W,"
              "reflected_W,reflected_min_W,reflected_max_W,vswr,frequency_MHz,temperature_C,"
              "duty_percent,period_us,prf_Hz,width_us,gate_mean_W,gate_max_W,gate_min_W,"
              "state1_mean_W,state1_max_W,state1_min_W,state2_mean_W,state2_max_W,state2_min_W,"
              "state3_mean_W,state3_max_W,state3_min_W,state4_mean_W,state4_max_W,state4_min_W\n",
              FleetCsv_header());
}

TEST(FleetCsv, ARowHasAllColumnsAndNothingWhereThereIsNoValue) {
    FleetReading reading{1795305068123, "20260001", 2, "5132", "77", FleetReading_noValues()};
    reading.values[fleetForward] = 25;
    reading.values[fleetTemperature] = 36.5;
    std::string row;
    FleetCsv_append(row, reading);
    EXPECT_EQ("2026-11-21T23:51:08.123Z,20260001,2,5132,77,25,,,,,,,,36.5,,,,,,,,,,,,,,,,,,,\n",
              row);
    const std::string header = FleetCsv_header();
    EXPECT_EQ(std::ranges::count(header, ','), std::ranges::count(row, ','));
}

TEST(FleetCsv, TextsThatNeedItAreQuoted) {
    FleetReading reading{0, "a,b", 1, "51\"32\" <script>%s%n", "plain", FleetReading_noValues()};
    std::string row;
    FleetCsv_append(row, reading);
    EXPECT_TRUE(
        row.starts_with("1970-01-01T00:00:00.000Z,\"a,b\",1,\"51\"\"32\"\" <script>%s%n\",plain,"))
        << row;
}

} // namespace
