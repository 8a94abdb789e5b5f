#ifndef TESTS_GUI_PULSE_CONFIG_FIXTURE_H
#define TESTS_GUI_PULSE_CONFIG_FIXTURE_H

#include "PulseConfig.h"
#include "PulseConfigDialog.h"
#include "PulseConfigSending.h"
#include "PulseFixture.h"
#include "XServer.h"

#include <string>

constexpr char pulseConfigStoredFile[] = "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf";
constexpr uint32_t pulseConfigLimit_ms = 20000;

/// The dialog of the first USB port, opened and used as a user does.
class PulseConfigDialog : public PulseScreens {
protected:
    void SetUp() override {
        PulseScreens::SetUp();
        static const bool isCreated = [] {
            pulseConfigDialog_Create(gPulseConfigDlg3163, pulseConfigForm3163);
            pulseConfigDialog_Create(gPulseConfigDlg3164, pulseConfigForm3164);
            return true;
        }();
        ASSERT_TRUE(isCreated);
        PulseDisplay_registerConfigDialog(pulseConfigDialog_Show);
        sensorPortHandler_setPulseConfigFile("");
        World_removeFile(pulseConfigStoredFile);
        SensorFake& sensor = sensorFakes[sensorPort_USB1];
        sensor.identity.sensorFrequency = {360000.0F, 105000000.0F};
        sensor.identity.sensorPulsePeriod = {6e-6F, 1.0F};
        sensor.identity.sensorPower = {0.0F, 25000.0F};
        sensor.identity.sensorTriggerDelay = {-1.0F, 1.0F};
        sensor.configs.freqVal = 13560000.0F;
        sensor.configs.prdVal = 0.01F;
        sensor.configs.trigLevelVal = 10.0F;
        sensor.configs.trigSlope = 1;
        sensor.configs.gateBegin = 0.0001F;
    }

    void TearDown() override {
        PulseConfigSending_cancel();
        for (PULSE_CONFIG_DIALOG* one : {&gPulseConfigDlg3163, &gPulseConfigDlg3164}) {
            callbackPulseConfigBtnClicked(one->cancel, one);
        }
        Gui_settle();
        PulseDisplay_registerConfigDialog(nullptr);
    }

    /// Opens the dialog of the first USB port as the user does.
    void open(bool supportsTriggeredGates) {
        sensorFakes[sensorPort_USB1].configs.bSupportsTriggeredGates = supportsTriggeredGates;
        dialog = supportsTriggeredGates ? &gPulseConfigDlg3164 : &gPulseConfigDlg3163;
        Gui_tap("pulse.btnConfig");
        ASSERT_TRUE(isShown(dialog->window));
    }

    static bool isShown(GtkWidget* widget) {
        return gtk_widget_get_mapped(widget) != 0;
    }

    GtkWidget* part(const std::string& name) const {
        GtkWidget* widget = find_child(dialog->window, name.c_str());
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    static void tap(GtkWidget* widget) {
        Gui_settle();
        ASSERT_TRUE(isShown(widget)) << gtk_widget_get_name(widget);
        const GdkRectangle place = Gui_place(widget);
        XServer_movePointer(place.x + place.width / 2, place.y + place.height / 2);
        XServer_button(true);
        Gui_settle();
        Gui_release();
    }

    void tap(const std::string& name) const {
        tap(part(name));
    }

    std::string text(const std::string& name) const {
        return gtk_entry_get_text(GTK_ENTRY(part(name)));
    }

    std::string unit(const std::string& name) const {
        return gtk_button_get_label(GTK_BUTTON(part(name + "Unit")));
    }

    bool isActive(const std::string& name) const {
        return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(part(name))) != 0;
    }

    /// Touches an entry and types a number.
    void type(const std::string& name, const char* number) const {
        tap(name);
        for (const char* key = number; *key != '\0'; ++key) {
            const std::string keyName =
                *key == '.' ? "Period" : (*key == '-' ? "Minus" : std::string(1, *key));
            tap("pulseConfigKey" + keyName);
        }
    }

    /// The text of the error dialog, which is confirmed.
    std::string takeError() const {
        if (!Gui_waitUntil([this] { return isShown(dialog->errorWindow); }, pulseConfigLimit_ms)) {
            return "";
        }
        std::string message = gtk_label_get_text(GTK_LABEL(dialog->errorText));
        tap(dialog->errorOk);
        EXPECT_FALSE(isShown(dialog->errorWindow));
        return message;
    }

    static void answer(int count, bool sensorHasGone) {
        ASSERT_TRUE(
            Gui_waitUntil([] { return SensorFakes_request().isWaiting; }, pulseConfigLimit_ms));
        USBTMC_PARAM_ERRORS errors = {};
        errors.count = count;
        errors.sensorHasGone = sensorHasGone;
        for (int i = 0; i < count; ++i) {
            snprintf(errors.errors[i], sizeof errors.errors[i], "Number %u is not valid",
                     static_cast<unsigned>(i) % 10U);
        }
        SensorFakes_answer(errors);
        ASSERT_TRUE(
            Gui_waitUntil([] { return !PulseConfigSending_isActive(); }, pulseConfigLimit_ms));
    }

    bool isTarget(const std::string& name) const {
        return dialog->pEntryTarget == part(name);
    }

    PULSE_CONFIG_DIALOG* dialog = nullptr;
};

#endif
