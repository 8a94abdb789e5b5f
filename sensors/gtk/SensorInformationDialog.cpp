#include "SensorInformationDialog.h"

#include "AppFlags.h"
#include "DialogHelpers.h"
#include "PowerDisplayTypes.h"
#include "SensorPortHandler.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <span>

namespace {

constexpr char interfaceFile[] = "./resources/sensorInfoDialog.ui";
constexpr std::array<const char*, sensorPortCount> portNames = {"Serial1", "Serial2", "USB1",
                                                                "USB2"};
constexpr char unknown[] = "-";

/// What stands for the greatest power until the sensor tells its own.
constexpr float untoldMaxPower_W = 199990.0F;

GtkWidget* dialog = nullptr;

void on_sensorInfoDialog_ok_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        Dialog_close(&dialog);
    }
}

gboolean on_sensorInfoDialog_delete_event(GtkWidget* /*window*/, GdkEvent* /*event*/,
                                          gpointer /*data*/) {
    Dialog_close(&dialog);
    return TRUE;
}

const DialogHandler handlers[] = {
    {"on_sensorInfoDialog_ok_clicked", G_CALLBACK(on_sensorInfoDialog_ok_clicked)},
    {"on_sensorInfoDialog_delete_event", G_CALLBACK(on_sensorInfoDialog_delete_event)}};

struct Range {
    char text[64];
};

struct Unit {
    double size;
    const char* name;
};

constexpr std::array<Unit, 3> powerUnits = {{{1e3, "kW"}, {1.0, "W"}, {1e-3, "mW"}}};
constexpr std::array<Unit, 4> frequencyUnits = {
    {{1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}, {1.0, "Hz"}}};

/// A value in the largest unit in which it is at least 1, else in the smallest.
void printValue(char (&text)[28], double value, std::span<const Unit> units) {
    size_t index = 0;
    while (index + 1 < units.size() && value < units[index].size) {
        ++index;
    }
    char number[16];
    g_ascii_formatd(number, sizeof number, "%.6g", value / units[index].size);
    snprintf(text, sizeof text, "%s %s", number, units[index].name);
}

/// "1 mW to 1 kW", without the lower end where there is none; "-" when the upper end is not known.
Range rangeText(PULSE_RANGES range, std::span<const Unit> units) {
    Range result{};
    char least[28];
    char greatest[28];
    const auto min = static_cast<double>(range.min);
    const auto max = static_cast<double>(range.max);
    if (!std::isfinite(min) || !std::isfinite(max) || max <= 0.0) {
        snprintf(result.text, sizeof result.text, "%s", unknown);
        return result;
    }
    printValue(greatest, max, units);
    if (min > 0.0) {
        printValue(least, min, units);
        snprintf(result.text, sizeof result.text, "%s to %s", least, greatest);
    } else {
        snprintf(result.text, sizeof result.text, "up to %s", greatest);
    }
    return result;
}

void setText(GtkBuilder* builder, const char* id, const char* text) {
    GtkWidget* label = Dialog_widget(builder, id);
    if (label != nullptr) {
        gtk_label_set_text(GTK_LABEL(label), *text != '\0' ? text : unknown);
    }
}

void fill(GtkBuilder* builder, uint32_t port) {
    SENSOR_IDENTITY identity{};
    char serialNumber[sensorSerialNumberSize] = "";
    sensorPortHandler_getSensorInformation(port, &identity, serialNumber, sizeof serialNumber);
    PULSE_RANGES power = identity.sensorPower;
    if (power.max >= untoldMaxPower_W) {
        power = {};
    }
    setText(builder, "sensorInfoModel", identity.sensorModel);
    setText(builder, "sensorInfoSerial", serialNumber);
    setText(builder, "sensorInfoFw", identity.sensorFirmwareRevision);
    setText(builder, "sensorInfoPort", portNames[port]);
    setText(builder, "sensorInfoPower", rangeText(power, powerUnits).text);
    setText(builder, "sensorInfoFrequency",
            rangeText(identity.sensorFrequency, frequencyUnits).text);
}

} // namespace

void SensorInformationDialog_show(uint32_t port) {
    if (port >= sensorPortCount) {
        return;
    }
    Dialog_close(&dialog);
    GtkBuilder* builder = Dialog_load(interfaceFile, handlers, std::size(handlers));
    if (builder == nullptr) {
        return;
    }
    dialog = Dialog_widget(builder, "sensorInfoDialog");
    fill(builder, port);
    const bool canBeLeft = Dialog_widget(builder, "sensorInfoDialog_ok") != nullptr;
    g_object_unref(builder);
    if (dialog != nullptr && canBeLeft) {
        Dialog_showAbove(dialog);
    } else {
        Dialog_close(&dialog);
    }
}

void SensorInformationDialog_onSensorClicked(GtkWidget* /*button*/, gpointer display) {
    if (gtk_init_done && display != nullptr) {
        SensorInformationDialog_show(static_cast<CGTKPowerDisplay*>(display)->sensorChannel);
    }
}
