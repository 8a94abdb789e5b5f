#include "GraphHistory.h"

#include "Configuration.h"
#include "SensorDisplays.h"

#include <gtest/gtest.h>

TEST(GraphHistory, BeginsAnewOnlyWhereTheOtherPowerIsGraphed) {
    for (uint32_t channel = 0; channel < NumberOfDisplays; ++channel) {
        CGraphData* const data = &sensorDisplays[channel].graphDataPwr;
        GraphSettings_t settings = configuration_getGraphSettings(channel);
        settings.bReflectedMode = false;
        settings.averageCount = 4;
        GraphHistory_store(settings, channel);
        CGraphData_addItem(data, 1.0F);
        settings.averageCount = 8;
        GraphHistory_store(settings, channel);
        EXPECT_EQ(data->count, 1U) << channel;
        EXPECT_EQ(data->filterWidth, 8U) << channel;

        settings.bReflectedMode = true;
        GraphHistory_store(settings, channel);
        EXPECT_EQ(data->count, 0U) << channel;
        CGraphData_addItem(data, 1.0F);
        GraphHistory_follow(channel, true);
        EXPECT_EQ(data->count, 1U) << channel;
        GraphHistory_follow(channel, false);
        EXPECT_EQ(data->count, 0U) << channel;
    }
    GraphHistory_follow(NumberOfDisplays, true);
}
