// Charts of all kinds.

#include "Configuration.h"
#include "GraphSettingsDialog.h"
#include "Pictures.h"
#include "SensorDisplays.h"
#include "gtkTimePowerGraph.h"

#include <cmath>
#include <random>

namespace {

float noise() {
    static std::minstd_rand random(8830);
    return static_cast<float>(random() % 2000) / 1000.0F - 1.0F;
}

/// A transmitter that is tuned, keyed and warms up: 5 to 95 W.
float transmitter(uint32_t second, uint32_t count) {
    const float share = static_cast<float>(second) / static_cast<float>(count);
    const bool keyed = std::sin(share * 40.0F) > -0.6F;
    return keyed ? 60.0F + 30.0F * std::sin(share * 7.0F) + 3.0F * noise() : 5.0F + noise();
}

void fill(uint32_t display, uint32_t count) {
    CGraphData* buffer = &sensorDisplays[display].graphDataPwr;
    CGraphData_reset(buffer);
    for (uint32_t i = 0; i < count; ++i) {
        CGraphData_addItem(buffer, transmitter(i, count));
    }
}

void setAxis(uint32_t display, double max_mW, double lower_mW, double upper_mW, TimeGraphMode mode,
             double min_mW = 0.0) {
    GraphSettings_t settings = {.maxPower = max_mW,
                                .minPower = min_mW,
                                .maxLimitLine = upper_mW,
                                .minLimitLine = lower_mW,
                                .unit = graphScale_mW,
                                .averageCount = 32,
                                .bReflectedMode = false,
                                .displayMode = mode};
    configuration_setGraphSettings(settings, display);
    CGraphData_setFilterWidth(&sensorDisplays[display].graphDataPwr, settings.averageCount);
}

void refresh(GtkSensorInstance screen, uint32_t display) {
    Pictures_prepare(screen, display, display);
    CGTKCWDisplay* shown = gtkSensor_cwDisplay(screen);
    SENSOR_MEASUREMENTS measurements = {};
    measurements.fwdPwrVal = display == 0 ? 25.37F : 640.2F;
    measurements.rflPwrVal = display == 0 ? 0.4821F : 1.205F;
    CGTKPowerDisplay_updateMeasurements(shown, measurements);
    CGTKTimePowerGraph_update(&shown->graph);
}

void refreshFull() {
    refresh(gtkSensorSingleChannel1withGraph, 0);
}

void refreshHalves() {
    refresh(gtkSensorDualChannel1withGraph, 0);
    refresh(gtkSensorDualChannel2withGraph, 1);
}

void drawFull() {
    Gui_showScreen(gtkSensorSingleChannel1withGraph);
    Gui_settle();
    const struct {
        const char* name;
        uint32_t seconds;
    } lengths[] = {{"graph-1-minute", 50}, {"graph-15-minutes", 700}, {"graph-24-hours", 86000}};
    setAxis(0, 100000.0, 20000.0, 80000.0, graphModeRaw);
    for (const auto& length : lengths) {
        fill(0, length.seconds);
        CGTKTimePowerGraph_invalidateDisplay(0);
        refreshFull();
        Pictures_save(length.name);
    }
    setAxis(0, 100000.0, 20000.0, 80000.0, graphModeAverage);
    refreshFull();
    Pictures_save("graph-averaged");
    fill(0, 10);
    refreshFull();
    refreshFull();
    Pictures_save("graph-prefill");
    fill(0, 700);
    setAxis(0, 100000.0, 20000.0, 80000.0, graphModeRaw, 1000.0);
    configuration_setPowerUnitsIsdBm(true);
    refreshFull();
    Pictures_save("graph-dbm");
    configuration_setPowerUnitsIsdBm(false);
    setAxis(0, 60000.0, 20000.0, 50000.0, graphModeRaw);
    refreshFull();
    Pictures_save("graph-clipped");
}

void drawHalves() {
    Gui_showScreen(gtkSensorDualChannel1withGraph);
    Gui_settle();
    setAxis(0, 100000.0, 20000.0, 80000.0, graphModeRaw);
    setAxis(1, 99999999.0, 20000.0, 80000.0, graphModeRaw);
    fill(0, 3000);
    fill(1, 86000);
    refreshHalves();
    Pictures_save("graph-halves");
    setAxis(0, 100000.0, 20000.0, 80000.0, graphModeRaw, 1000.0);
    setAxis(1, 100000.0, 20000.0, 80000.0, graphModeRaw, 1000.0);
    configuration_setPowerUnitsIsdBm(true);
    refreshHalves();
    Pictures_save("graph-halves-dbm");
    configuration_setPowerUnitsIsdBm(false);
}

void drawSettings() {
    graphSettingsDialog_Create(GTK_WINDOW(entireScreen.mainWindow));
    Gui_showScreen(gtkSensorSingleChannel1withGraph);
    setAxis(0, 100000.0, 20000.0, 80000.0, graphModeAverage);
    fill(0, 700);
    refreshFull();
    Gui_settle();
    Gui_tap("singleGraph.graph.title");
    Gui_tap("graphSettingsRangeMax");
    Pictures_save("graph-settings");
}

} // namespace

void Pictures_drawGraphs() {
    Pictures_reset();
    Pictures_plug(sensorPort_Serial1, "5132", "123456789", 1000.0F);
    Pictures_plug(sensorPort_Serial2, "5132", "987654321", 1000.0F);
    drawFull();
    drawHalves();
    drawSettings();
    gtk_widget_hide(Gui_widget("graphSettingsDialog"));
}
