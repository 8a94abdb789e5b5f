#include "SerialReset.h"

#include "Configuration.h"
#include "GraphHistory.h"

#include <array>

void SerialReset_HandleCommand() {
    std::array<bool, configurationChannelCount> wasReflected{};
    for (uint32_t channel = 0; channel < wasReflected.size(); ++channel) {
        wasReflected.at(channel) = configuration_getGraphRflMode(channel);
    }
    resetConfigToDefaults();
    for (uint32_t channel = 0; channel < wasReflected.size(); ++channel) {
        GraphHistory_follow(channel, wasReflected.at(channel));
    }
}
