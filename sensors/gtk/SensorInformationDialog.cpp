#include "SensorInformationDialog.h"

#include "AppFlags.h"
#include "DialogHelpers.h"
#include "GtkHelpers.h"
#include "MeasurementText.h"
#include "PowerDisplayTypes.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <span>

namespace {

constexpr char interfaceFile[] = "./resources/sensorInfoDialog.ui";
constexpr std::array<const char*, sensorPortCount> portNames = {"Serial1", "Serial2", "USB1",
                                                                "USB2"};

/// What stands for the greatest power until the sensor tells its own.
constexpr float untoldMaxPower_W = 199990.0F;

GtkWidget* dialog = nullptr;

/// The dialog's lines, as their values' labels are named.
enum Line : size_t {
    lineModel,
    lineSerial,
    lineFirmware,
    linePort,
    linePower,
    lineFrequencyRange,
    lineTemperature,
    lineFrequency,
    lineNote,
    lineCount
};
constexpr std::array<const char*, lineCount> labelNames = {
    "sensorInfoModel",       "sensorInfoSerial",  "sensorInfoFw",
    "sensorInfoPort",        "sensorInfoPower",   "sensorInfoFrequency",
    "sensorInfoTemperature", "sensorInfoCarrier", "sensorInfoNote"};
std::array<GtkWidget*, lineCount> labels{};

/// The sensor that the dialog is about; another one that takes its port is not.
struct ShownSensor {
    uint32_t port;
    uint32_t admission;
    bool hasGone;
};
ShownSensor shown{};

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

/// "1 mW to 1 kW", without the lower end where there is none; empty when the upper end is not
/// known.
Range rangeText(PULSE_RANGES range, std::span<const Unit> units) {
    Range result{};
    char least[28];
    char greatest[28];
    const auto min = static_cast<double>(range.min);
    const auto max = static_cast<double>(range.max);
    if (!std::isfinite(min) || !std::isfinite(max) || max <= 0.0) {
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

void show(Line line, const char* text) {
    setLabelText(labels[line], Dialog_textOrNone(text));
}

/// What the sensor has told of itself.
void showIdentity() {
    SENSOR_IDENTITY identity{};
    char serialNumber[sensorSerialNumberSize] = "";
    sensorPortHandler_getSensorInformation(shown.port, &identity, serialNumber,
                                           sizeof serialNumber);
    PULSE_RANGES power = identity.sensorPower;
    if (power.max >= untoldMaxPower_W) {
        power = {};
    }
    show(lineModel, identity.sensorModel);
    show(lineSerial, serialNumber);
    show(lineFirmware, identity.sensorFirmwareRevision);
    show(linePort, portNames[shown.port]);
    show(linePower, rangeText(power, powerUnits).text);
    show(lineFrequencyRange, rangeText(identity.sensorFrequency, frequencyUnits).text);
}

void showTemperature(float temperature_C) {
    char number[16] = "";
    char text[28] = "";
    if (std::isfinite(temperature_C)) {
        g_ascii_formatd(number, sizeof number, "%.1f", static_cast<double>(temperature_C));
        snprintf(text, sizeof text, "%s \u00b0C", number);
    }
    show(lineTemperature, text);
}

/// As the pulse screens show it, without the blanks that fill its place there.
void showFrequency(float frequency_Hz) {
    const ValueText value = MeasurementText_frequency(frequency_Hz);
    char text[valueTextSize + unitTextSize] = "";
    if (value.value[0] != '\0') {
        const char* const number = value.value + strspn(value.value, " ");
        snprintf(text, sizeof text, "%s %s", number, value.unit);
    }
    show(lineFrequency, text);
}

void showReadings() {
    const SENSOR_MEASUREMENTS none = SensorMeasurements_none();
    const bool measures =
        !shown.hasGone && sensorPortHandler_getSensorStatus(shown.port).status == isReady;
    const SENSOR_MEASUREMENTS measurements =
        measures ? sensorPortHandler_getSensorMeasurements(shown.port) : none;
    showTemperature(measurements.temperatureVal);
    showFrequency(measurements.freqVal);
    const SilenceText silence =
        measures ? MeasurementText_silence(sensorPortHandler_getSilence(shown.port))
                 : SilenceText{};
    setLabelText(labels[lineNote], shown.hasGone ? dialogSensorGone : silence.text);
}

/// What the sensor was stays when it goes.
gboolean refresh(gpointer /*dialog*/) {
    shown.hasGone = shown.hasGone || Dialog_sensorHasGone(shown.port, shown.admission);
    if (!shown.hasGone) {
        showIdentity();
    }
    showReadings();
    return G_SOURCE_CONTINUE;
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
    for (size_t line = 0; line < lineCount; ++line) {
        labels[line] = Dialog_widget(builder, labelNames[line]);
    }
    const bool canBeLeft = Dialog_widget(builder, "sensorInfoDialog_ok") != nullptr;
    g_object_unref(builder);
    if (dialog == nullptr || !canBeLeft) {
        Dialog_close(&dialog);
        return;
    }
    shown = {port, SensorManager_getAdmissionNumber(port), false};
    showIdentity();
    refresh(nullptr);
    Dialog_keepFresh(dialog, refresh);
    Dialog_showAbove(dialog);
}

void SensorInformationDialog_onSensorClicked(GtkWidget* /*button*/, gpointer display) {
    if (gtk_init_done && display != nullptr) {
        SensorInformationDialog_show(static_cast<CGTKPowerDisplay*>(display)->sensorChannel);
    }
}
