#include "LookChecks.h"
#include "PulseConfigFixture.h"
#include "ScreenSize.h"

#include <iterator>
#include <string>
#include <vector>

namespace {

/// How the dialog looks, whatever stands in it.
class PulseConfigLook : public PulseConfigDialog {};

TEST_F(PulseConfigLook, StandsOnTheWholeScreen) {
    open(true);
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog->window)));
    const GdkRectangle place = Gui_place(dialog->window);
    EXPECT_EQ(place.x, 0);
    EXPECT_EQ(place.y, 0);
    EXPECT_EQ(place.width, screenWidth);
    EXPECT_EQ(place.height, screenHeight);
}

TEST_F(PulseConfigLook, ColumnsStandBelowEachOther) {
    open(true);
    const auto edges = [this](const std::string& name) {
        const GdkRectangle place = Gui_place(part(name));
        return std::pair(place.x, place.x + place.width);
    };
    const auto entry = edges("pulseConfigFrequency");
    const auto unitKey = edges("pulseConfigFrequencyUnit");
    for (const char* name : {"pulseConfigPeriod", "pulseConfigLevel", "pulseConfigDelay",
                             "pulseConfigGateBegin", "pulseConfigGateEnd"}) {
        EXPECT_EQ(edges(name), entry) << name;
        EXPECT_EQ(edges(std::string(name) + "Unit"), unitKey) << name;
    }
    EXPECT_EQ(edges("pulseConfigPeriodAuto").first, edges("pulseConfigFrequencyAuto").first);
    EXPECT_EQ(edges("pulseConfigModelStates").first, edges("pulseConfigSlopeFalling").first);
}

TEST_F(PulseConfigLook, LooksAsAllDialogsDo) {
    sensorFakes[sensorPort_USB1].configs.bModelIsTriggeredGates = true;
    sensorFakes[sensorPort_USB1].configs.numStates = 4;
    open(true);
    Gui_settle();
    Look_expectShown(dialog->window);
    const auto middle = [this](const char* name) {
        const GdkRectangle place = Gui_place(part(name));
        return place.x + place.width / 2;
    };
    EXPECT_LT(middle("pulseConfigRestore"), middle("pulseConfigCancel"));
    EXPECT_LT(middle("pulseConfigCancel"), middle("pulseConfigStore"));
    EXPECT_LT(middle("pulseConfigStore"), middle("pulseConfigApply"));
    callbackPulseConfigBtnClicked(dialog->cancel, dialog);
    open(false);
    Gui_settle();
    Look_expectShown(dialog->window);
    std::vector<GdkRectangle> places;
    for (const std::string& key :
         Look_keypadOf("pulseConfigKey", {"Minus", "Period", "Clear", "Back", "Next"})) {
        places.push_back(Gui_place(part(key)));
    }
    Look_expectKeypadPlaces(places);
}

TEST_F(PulseConfigLook, TheLongestTextsStandWholeInEveryUnit) {
    SensorFake& sensor = sensorFakes[sensorPort_USB1];
    snprintf(sensor.model, sizeof sensor.model, "%s", std::string(20, 'W').c_str());
    SENSOR_CONFIGS& configs = sensor.configs;
    configs.freqVal = 104999990.0F;
    configs.prdVal = 1.234567e-5F;
    configs.trigLevelVal = 1.234567e-4F;
    configs.trigDelayVal = configs.gateEnd = -1.234567e-6F;
    configs.numStates = 4;
    for (PULSE_STATE_INTVL& state : configs.pulseStates) {
        state = {true, -1.234567e-6F, 0.1234567F};
    }
    for (const bool hasStates : {false, true}) {
        configs.bModelIsTriggeredGates = hasStates;
        open(true);
        for (uint32_t unit = 0; unit < PulseConfigUnits_count(UnitKind::power); ++unit) {
            SCOPED_TRACE(unit);
            Look_expectShown(dialog->window);
            for (const PulseConfigEntry& entry : dialog->entries) {
                gtk_button_clicked(GTK_BUTTON(entry.unitButton));
            }
        }
        callbackPulseConfigBtnClicked(dialog->cancel, dialog);
        Gui_settle();
    }
}

/// The height of a text's line.
int lineHeight(GtkWidget* widget) {
    return Look_lineHeight(GTK_IS_ENTRY(widget) ? gtk_entry_get_layout(GTK_ENTRY(widget))
                                                : gtk_label_get_layout(GTK_LABEL(widget)));
}

TEST_F(PulseConfigLook, AsManyDigitsAsANumberCanUseStandWholeInTheEntry) {
    sensorFakes[sensorPort_USB1].configs.bModelIsTriggeredGates = true;
    sensorFakes[sensorPort_USB1].configs.numStates = 1;
    open(true);
    const int usual = lineHeight(part("pulseConfigFrequency"));
    EXPECT_GE(usual, 32) << "as the style sheet has it";
    EXPECT_GE(lineHeight(dialog->title), 36);
    for (const char* name : {"pulseConfigFrequency", "pulseConfigStateBegin1"}) {
        type(name, "123456789012345");
        EXPECT_EQ(text(name), "123456789012345");
    }
    EXPECT_LT(lineHeight(part("pulseConfigFrequency")), usual);
    Look_expectShown(dialog->window);
    type("pulseConfigFrequency", "5");
    EXPECT_EQ(text("pulseConfigFrequency"), "5");
    EXPECT_EQ(lineHeight(part("pulseConfigFrequency")), usual);
}

/// The text that the next key replaces, which has a blue ground.
std::string marked(GtkWidget* entry) {
    gchar* text = nullptr;
    int start = 0;
    int end = 0;
    if (gtk_editable_get_selection_bounds(GTK_EDITABLE(entry), &start, &end) != FALSE) {
        text = gtk_editable_get_chars(GTK_EDITABLE(entry), start, end);
    }
    std::string result = text != nullptr ? text : "";
    g_free(text);
    return result;
}

TEST_F(PulseConfigLook, WhatTheNextKeyReplacesIsMarkedAsInTheOtherDialogs) {
    open(true);
    GtkWidget* frequency = part("pulseConfigFrequency");
    EXPECT_EQ(marked(frequency), "13.56");
    tap("pulseConfigPeriod");
    EXPECT_EQ(marked(frequency), "");
    EXPECT_EQ(marked(part("pulseConfigPeriod")), "10");
    tap("pulseConfigKey7");
    EXPECT_EQ(marked(part("pulseConfigPeriod")), "");
    tap("pulseConfigPeriodUnit");
    EXPECT_EQ(marked(part("pulseConfigPeriod")), "7000");
}

TEST_F(PulseConfigLook, ErrorsWithTheLongestTextsStandWholeOnTheScreen) {
    open(true);
    tap("pulseConfigApply");
    ASSERT_TRUE(Gui_waitUntil([] { return SensorFakes_request().isWaiting; }, pulseConfigLimit_ms));
    Look_expectShown(dialog->window);
    USBTMC_PARAM_ERRORS errors = {};
    errors.count = std::size(errors.errors);
    for (char(&error)[32] : errors.errors) {
        snprintf(error, sizeof error, "%s", std::string(31, 'W').c_str());
    }
    SensorFakes_answer(errors);
    const auto isTold = [this] { return isShown(dialog->errorWindow); };
    ASSERT_TRUE(Gui_waitUntil(isTold, pulseConfigLimit_ms));
    Look_expectShown(dialog->errorWindow);
    tap(dialog->errorOk);
    sensorFakes[sensorPort_USB1].identity.sensorFrequency = {3e38F, 3.4e38F};
    tap("pulseConfigApply");
    ASSERT_TRUE(isTold());
    Look_expectShown(dialog->errorWindow);
}

} // namespace
