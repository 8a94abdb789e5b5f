// When the pulse configuration dialog refuses to send: its sensor has gone, or a number is missing.

#include "PulseConfigFixture.h"

#include <string>

namespace {

TEST_F(PulseConfigDialog, OnceItsSensorHasGoneOnlyCancelAnswers) {
    open(true);
    sensorFakes[sensorPort_USB1].hasGone = true;
    ASSERT_TRUE(Gui_waitUntil(
        [this] {
            return std::string("The sensor has gone.") ==
                   gtk_label_get_text(GTK_LABEL(dialog->status));
        },
        pulseConfigLimit_ms));
    for (const char* name :
         {"pulseConfigFrequency", "pulseConfigFrequencyUnit", "pulseConfigFrequencyAuto",
          "pulseConfigSlopeFalling", "pulseConfigKey1", "pulseConfigKeyNext", "pulseConfigRestore",
          "pulseConfigApply", "pulseConfigStore"}) {
        EXPECT_FALSE(gtk_widget_is_sensitive(part(name))) << name;
    }
    // Another sensor on the same port is another sensor.
    sensorFakes[sensorPort_USB1].hasGone = false;
    sensorFakes[sensorPort_USB1].admission += 2;
    callbackPulseConfigBtnClicked(dialog->apply, dialog);
    EXPECT_EQ(SensorFakes_request().count, 0);
    tap("pulseConfigCancel");
    EXPECT_FALSE(isShown(dialog->window));
    open(true);
    EXPECT_TRUE(gtk_widget_is_sensitive(dialog->apply));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "");
}

TEST_F(PulseConfigDialog, ASensorThatTookTheOthersPlaceGetsNothing) {
    open(true);
    SensorFake& sensor = sensorFakes[sensorPort_USB1];
    for (GtkWidget* button : {dialog->apply, dialog->applyAndStore}) {
        sensor.admission += 2;
        sensor.identity = {}; // not read yet
        callbackPulseConfigBtnClicked(button, dialog);
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "The sensor has gone.");
        EXPECT_FALSE(isShown(dialog->errorWindow));
        EXPECT_EQ(SensorFakes_request().count, 0);
        callbackPulseConfigBtnClicked(dialog->cancel, dialog);
        open(true);
    }
}

TEST_F(PulseConfigDialog, ASensorThatGoesWhileItIsSentToIsTold) {
    open(true);
    tap("pulseConfigStore");
    sensorFakes[sensorPort_USB1].hasGone = true;
    answer(0, true);
    EXPECT_EQ(takeError(), "The sensor has gone.\nNothing has been stored.");
    ASSERT_TRUE(Gui_waitUntil([this] { return dialog->sensorHasGone; }, pulseConfigLimit_ms));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "The sensor has gone.");
    EXPECT_FALSE(gtk_widget_is_sensitive(dialog->apply));
}

TEST_F(PulseConfigDialog, AnEmptyEntryIsRefusedAndTurnedTo) {
    open(true);
    for (const char* name : {"pulseConfigFrequency", "pulseConfigPeriod", "pulseConfigLevel",
                             "pulseConfigDelay", "pulseConfigGateBegin", "pulseConfigGateEnd"}) {
        const std::string before = text(name);
        for (const char* keys : {"", "."}) {
            tap(name);
            tap("pulseConfigKeyClear");
            for (const char* key = keys; *key != '\0'; ++key) {
                tap("pulseConfigKeyPeriod");
            }
            tap("pulseConfigKeyNext");
            for (const char* button : {"pulseConfigApply", "pulseConfigStore"}) {
                tap(button);
                EXPECT_TRUE(isTarget(name)) << name;
                EXPECT_FALSE(isShown(dialog->errorWindow)) << name;
            }
        }
        type(name, before.c_str());
    }
    EXPECT_EQ(SensorFakes_request().count, 0);
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_FALSE(isShown(dialog->window));
}

TEST_F(PulseConfigDialog, AnEntryThatDoesNotAnswerMayBeEmpty) {
    open(true);
    type("pulseConfigFrequency", "1");
    tap("pulseConfigKeyClear");
    tap("pulseConfigFrequencyAuto");
    tap("pulseConfigGateBegin");
    tap("pulseConfigKeyClear");
    tap("pulseConfigModelStates");
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_EQ(SensorFakes_request().count, 1);
}

} // namespace
