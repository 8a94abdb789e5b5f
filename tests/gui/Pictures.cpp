#include "Pictures.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "World.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

std::string folder;

} // namespace

void Pictures_save(const std::string& name) {
    Gui_settle();
    const std::string file = folder + "/" + name + ".png";
    if (!Gui_savePicture(file)) {
        fprintf(stderr, "cannot write %s\n", file.c_str());
        _exit(1);
    }
}

void Pictures_reset() {
    World_removeFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf");
    setConfigurationFile("");
    readConfigFile();
    SensorFakes_reset();
    constexpr rfPowerScale automatic = {.autoScale = true, .scaleIndex = 5};
    for (uint32_t channel = 0; channel < 2; ++channel) {
        configuration_setGatedPowerScale(automatic, channel);
        for (uint32_t direction = 0; direction < 2; ++direction) {
            configuration_setRfPowerScale(automatic, channel, direction);
        }
        for (uint32_t state = 0; state < 4; ++state) {
            configuration_setStatePowerScale(automatic, channel, state);
        }
    }
}

void Pictures_plug(uint32_t port, const char* model, const char* serialNumber, float maxPower_W) {
    SensorFake& sensor = sensorFakes[port];
    sensor.status.status = isReady;
    sensor.maxPower_W = maxPower_W;
    snprintf(sensor.model, sizeof sensor.model, "%s", model);
    snprintf(sensor.serialNumber, sizeof sensor.serialNumber, "%s", serialNumber);
}

void Pictures_prepare(GtkSensorInstance screen, uint32_t display, uint32_t port,
                      uint32_t titleLength) {
    CGTKPowerDisplay* power = gtkSensor_powerDisplay(screen);
    CGTKPowerDisplay_setDisplayIndex(power, display);
    CGTKPowerDisplay_setSensorChannel(power, port);
    CGTKPowerDisplay_updateScale(power);
    CGTKPowerDisplay_setSensorLabel(power, titleLength);
}

int main(int count, char** arguments) {
    if (count != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", arguments[0]);
        return 1;
    }
    char* absolute = realpath(arguments[1], nullptr);
    if (absolute == nullptr) {
        perror(arguments[1]);
        return 1;
    }
    folder = absolute;
    free(absolute);
    Pictures_reset();
    Gui_start();
    gtk_init_done = true;
    Pictures_drawScreens();
    Pictures_drawGraphs();
    Pictures_drawSilence();
    Pictures_drawPulse();
    return 0;
}
