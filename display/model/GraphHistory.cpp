#include "GraphHistory.h"

#include "Configuration.h"
#include "SensorDisplays.h"

void GraphHistory_store(const GraphSettings_t& settings, uint32_t channel) {
    const bool wasReflected = configuration_getGraphRflMode(channel);
    configuration_setGraphSettings(settings, channel);
    GraphHistory_follow(channel, wasReflected);
}

void GraphHistory_follow(uint32_t channel, bool wasReflected) {
    if (channel >= NumberOfDisplays) {
        return;
    }
    const GraphSettings_t settings = configuration_getGraphSettings(channel);
    CGraphData* buffer = &sensorDisplays[channel].graphDataPwr;
    if (settings.bReflectedMode != wasReflected) {
        CGraphData_reset(buffer);
    }
    CGraphData_setFilterWidth(buffer, settings.averageCount);
}
