// Every kind of measurement screen with a silent sensor, above with a usual name and a short
// silence, below with the longest of both.

#include "Pictures.h"
#include "PulseMeasurements.h"
#include "PulseReadings.h"
#include "SensorScreens.h"
#include "SilenceSign.h"

namespace {

constexpr const char* shortSilence = "no reading for 12 s";
constexpr const char* longSilence = "no reading for 9999 min";

void plugSensors() {
    Pictures_reset();
    Pictures_plug(sensorPort_Serial1, "5132", "513200417", 1000.0F);
    Pictures_plug(sensorPort_Serial2, "Tessel 5134 wide lab", "987654321", 1000.0F);
    Pictures_plug(sensorPort_USB1, "3164", "201100123", 1000.0F);
    Pictures_plug(sensorPort_USB2, "Tessel 3164 wide lab", "987654321", 1000.0F);
}

void prepare(GtkSensorInstance screen, uint32_t display, uint32_t port, const char* silence) {
    const SENSOR_MEASUREMENTS measurements = readings();
    Pictures_prepare(screen, display, port);
    if (CGTKCWDisplay* cw = gtkSensor_cwDisplay(screen)) {
        CGTKPowerDisplay_updateMeasurements(cw, measurements);
    }
    if (CGTKPulseDisplay* pulse = gtkSensor_pulseDisplay(screen)) {
        CGTKPowerDisplay_updatePulseMeasurements(pulse, measurements);
    }
    SilenceSign_show(gtkSensor_powerDisplay(screen)->title, silence);
}

void takeAway(GtkSensorInstance screen) {
    SilenceSign_show(gtkSensor_powerDisplay(screen)->title, "");
}

/// A kind of screen: full, upper half and lower half.
struct Kind {
    const char* name;
    GtkSensorInstance full;
    GtkSensorInstance upper;
    GtkSensorInstance lower;
    uint32_t firstPort;
};

constexpr Kind kinds[] = {
    {"cw", gtkSensorSingleChannel1, gtkSensorDualChannel1, gtkSensorDualChannel2,
     sensorPort_Serial1},
    {"graph", gtkSensorSingleChannel1withGraph, gtkSensorDualChannel1withGraph,
     gtkSensorDualChannel2withGraph, sensorPort_Serial1},
    {"pulse", gtkSensorSinglePulse, gtkSensorDualPulseChannel1, gtkSensorDualPulseChannel2,
     sensorPort_USB1},
};

void draw(const Kind& kind) {
    const std::string name = std::string("silent-") + kind.name;
    Gui_showScreen(kind.full);
    prepare(kind.full, 0, kind.firstPort, shortSilence);
    Pictures_save(name + "-full");
    takeAway(kind.full);
    prepare(kind.full, 0, kind.firstPort + 1, longSilence);
    Pictures_save(name + "-full-long");
    Gui_showScreen(kind.upper);
    prepare(kind.upper, 0, kind.firstPort, shortSilence);
    prepare(kind.lower, 1, kind.firstPort + 1, longSilence);
    Pictures_save(name + "-halves");
    takeAway(kind.full);
    takeAway(kind.upper);
    takeAway(kind.lower);
    Pictures_save(name + "-halves-again");
}

} // namespace

void Pictures_drawSilence() {
    plugSensors();
    for (const Kind& kind : kinds) {
        draw(kind);
    }
}
