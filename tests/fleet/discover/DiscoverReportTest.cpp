#include "DiscoverReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

DiscoveredMeter answering() {
    DiscoveredMeter meter{{"Größe \"1\"", {"10.0.0.5", 5025}, "8830K"}, MeterDialogue{}, {}};
    meter.dialogue->model = "8830K";
    meter.dialogue->serial = "20260001";
    meter.dialogue->firmware = "3.0.1";
    meter.dialogue->channels[0].state = MeterChannelState::measuring;
    meter.dialogue->channels[0].reading.channel = 1;
    meter.dialogue->channels[0].reading.sensor = "51\"32</script>";
    meter.dialogue->channels[0].reading.sensorSerial = "77";
    meter.dialogue->channels[1].reading.channel = 2;
    return meter;
}

TEST(DiscoverReport, TheTableHasALineForEachMeter) {
    const DiscoveredMeter away{
        {"other", {"fe80::1%eth0", 5026}, "8830K"}, {}, "it does not answer"};
    EXPECT_EQ("ADDRESS              MODEL  SERIAL    NAME       SENSORS\n"
              "10.0.0.5             8830K  20260001  Größe \"1\"  1: 51\"32</script> (77), "
              "2: no sensor\n"
              "[fe80::1%eth0]:5026  8830K  -         other      it does not answer\n",
              DiscoverReport_table({answering(), away}));
}

TEST(DiscoverReport, JsonHasTheSameAndEscapesIt) {
    const std::string json = DiscoverReport_json({answering()});
    EXPECT_THAT(json, HasSubstr(R"("address": "10.0.0.5")"));
    EXPECT_THAT(json, HasSubstr(R"("name": "Größe \"1\"")"));
    EXPECT_THAT(json, HasSubstr(R"("meter": "20260001")"));
    EXPECT_THAT(json, HasSubstr(R"("sensor": "51\"32</script>")"));
    EXPECT_THAT(json, HasSubstr(R"("state": "no sensor")"));
}

TEST(DiscoverReport, WithoutMetersThereIsAnEmptyList) {
    EXPECT_EQ("[]\n", DiscoverReport_json({}));
    EXPECT_EQ("ADDRESS  MODEL  SERIAL  NAME  SENSORS\n", DiscoverReport_table({}));
}

TEST(DiscoverReport, ABrokenNameIsNoFailure) {
    DiscoveredMeter meter = answering();
    meter.announced.name = "\xff\xfe";
    meter.dialogue.reset();
    meter.trouble = "gone";
    EXPECT_THAT(DiscoverReport_json({meter}), HasSubstr(R"("trouble": "gone")"));
}

} // namespace
