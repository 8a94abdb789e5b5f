#include "DisplaySettings.h"

#include "Configuration.h"
#include "gtkTimePowerGraph.h"
#include "message.h"

void settings_setDisplayForward(bool display) {
    configuration_setDisplayFowardPower(display);
}

void settings_setDisplayReflected(bool display) {
    configuration_setDisplayReflectedPower(display);
}

void settings_setDisplayMatch(bool display) {
    configuration_setDisplayMatch(display);
}

void settings_setMatchType(int type) {
    if (type < rfMatch_VSWR || type > rfMatch_RflCoeff) {
        DIAGNOSTIC("Invalid match type (%d).\n", type);
        return;
    }
    configuration_setMatchMeasurementType(static_cast<rfMatchType_t>(type));
}

void settings_setDisplayGraph(bool display) {
    configuration_setDisplayGraph(display);
}

void settings_setGraphMode(int mode) {
    if (mode != graphModeRaw && mode != graphModeAverage) {
        DIAGNOSTIC("Invalid graph mode (%d).\n", mode);
        return;
    }
    for (unsigned channel = 0; channel < configurationChannelCount; ++channel) {
        GraphSettings_t settings = configuration_getGraphSettings(channel);
        settings.displayMode = static_cast<TimeGraphMode>(mode);
        configuration_setGraphSettings(settings, channel);
        CGTKTimePowerGraph_invalidateDisplay(channel);
    }
}

void settings_setSensorPulseMode(bool isActive) {
    configuration_setPulseMode(isActive);
}
