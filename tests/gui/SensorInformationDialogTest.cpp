#include "SensorInformationDialog.h"

#include "DialogFixture.h"
#include "LookChecks.h"

#include <limits>

namespace {

constexpr char dialogName[] = "sensorInfoDialog";

/// The dialog of a sensor on USB1 that has told everything.
class SensorInformation : public Screens {
protected:
    void SetUp() override {
        Screens::SetUp();
        SensorFake& fake = sensorFakes[sensorPort_USB1];
        snprintf(fake.model, sizeof fake.model, "3164");
        snprintf(fake.serialNumber, sizeof fake.serialNumber, "201100123");
        snprintf(fake.identity.sensorFirmwareRevision, sizeof fake.identity.sensorFirmwareRevision,
                 "2.05");
        fake.identity.sensorPower = {0.1F, 1000.0F};
        fake.identity.sensorFrequency = {25e6F, 1.5e9F};
        Gui_showScreen(gtkSensorSingleChannel1);
        World_clearSyslog();
    }
    void TearDown() override {
        gtk_init_done = true;
        if (Dialog_shown(dialogName) != nullptr) {
            Gui_tap("sensorInfoDialog_ok");
        }
        EXPECT_EQ(Dialog_shown(dialogName), nullptr);
    }
    static bool becomes(const std::string& name, const std::string& text) {
        return Gui_waitUntil([&] { return Gui_text(name) == text; }, 20000);
    }
};

} // namespace

TEST_F(SensorInformation, ShowsWhatTheSensorHasTold) {
    SensorInformationDialog_show(sensorPort_USB1);
    Gui_settle();
    struct Case {
        const char* name;
        const char* text;
    };
    for (const Case& row : {Case{"sensorInfoModel", "3164"}, Case{"sensorInfoSerial", "201100123"},
                            Case{"sensorInfoFw", "2.05"}, Case{"sensorInfoPort", "USB1"},
                            Case{"sensorInfoPower", "100 mW to 1 kW"},
                            Case{"sensorInfoFrequency", "25 MHz to 1.5 GHz"}}) {
        EXPECT_EQ(Gui_text(row.name), row.text) << row.name;
    }
    Dialog_expectTouchable(dialogName, {"sensorInfoDialog_ok"});
    Dialog_keepPicture("sensor-information");
}

TEST_F(SensorInformation, LeavesOpenWhatTheSensorHasNotTold) {
    SensorFake& fake = sensorFakes[sensorPort_Serial2];
    fake.identity.sensorPower = {0.0F, 199990.0F};
    SensorInformationDialog_show(sensorPort_Serial2);
    for (const char* name :
         {"sensorInfoModel", "sensorInfoSerial", "sensorInfoFw", "sensorInfoPower",
          "sensorInfoFrequency", "sensorInfoTemperature", "sensorInfoCarrier"}) {
        EXPECT_EQ(Gui_text(name), "---") << name;
    }
    EXPECT_EQ(Gui_text("sensorInfoPort"), "Serial2");
}

TEST_F(SensorInformation, FollowsTemperatureAndFrequencyWithoutMoving) {
    SensorFake& fake = sensorFakes[sensorPort_USB1];
    fake.status.status = isReady;
    fake.measurements.temperatureVal = 36.54F;
    fake.measurements.freqVal = 13.56e6F;
    SensorInformationDialog_show(sensorPort_USB1);
    Gui_settle();
    EXPECT_EQ(Gui_text("sensorInfoTemperature"), "36.5 \u00b0C");
    EXPECT_EQ(Gui_text("sensorInfoCarrier"), "13.560 MHz");
    const GdkRectangle place = Gui_place(Dialog_shown(dialogName));
    fake.measurements.temperatureVal = -40.0F;
    fake.measurements.freqVal = 250.0F;
    fake.silence.time_ms = 12000;
    EXPECT_TRUE(becomes("sensorInfoTemperature", "-40.0 \u00b0C"));
    EXPECT_TRUE(becomes("sensorInfoCarrier", "250.0 Hz"));
    EXPECT_TRUE(becomes("sensorInfoNote", "no reading for 12 s")) << "an old value looks old";
    const GdkRectangle placeThen = Gui_place(Dialog_shown(dialogName));
    EXPECT_TRUE(gdk_rectangle_equal(&place, &placeThen));
    fake.silence.time_ms = 0;
    fake.measurements.temperatureVal = std::numeric_limits<float>::quiet_NaN();
    fake.measurements.freqVal = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(becomes("sensorInfoTemperature", "---"));
    EXPECT_TRUE(becomes("sensorInfoCarrier", "---"));
    EXPECT_TRUE(becomes("sensorInfoNote", ""));
}

TEST_F(SensorInformation, FollowsASensorThatTellsItsIdentityLater) {
    SensorFake& fake = sensorFakes[sensorPort_Serial2];
    SensorInformationDialog_show(sensorPort_Serial2);
    EXPECT_EQ(Gui_text("sensorInfoModel"), "---");
    snprintf(fake.model, sizeof fake.model, "5134");
    EXPECT_TRUE(becomes("sensorInfoModel", "5134"));
}

TEST_F(SensorInformation, TellsThatItsSensorHasGoneAndKeepsWhatItWas) {
    SensorFake& fake = sensorFakes[sensorPort_USB1];
    fake.status.status = isReady;
    fake.measurements.temperatureVal = 36.5F;
    SensorInformationDialog_show(sensorPort_USB1);
    fake.hasGone = true;
    EXPECT_TRUE(becomes("sensorInfoNote", "The sensor has gone."));
    EXPECT_EQ(Gui_text("sensorInfoTemperature"), "---");
    EXPECT_EQ(Gui_text("sensorInfoModel"), "3164");
    fake.hasGone = false;
    ++fake.admission;
    snprintf(fake.model, sizeof fake.model, "3162");
    Gui_settle();
    SensorInformationDialog_show(sensorPort_USB1);
    EXPECT_EQ(Gui_text("sensorInfoModel"), "3162") << "the one that came is asked for anew";
    EXPECT_EQ(Gui_text("sensorInfoNote"), "");
    ++fake.admission;
    EXPECT_TRUE(becomes("sensorInfoNote", "The sensor has gone."));
    Look_expectTexts(Dialog_shown(dialogName));
}

TEST_F(SensorInformation, PrintsRangesInTheirUnits) {
    struct Case {
        PULSE_RANGES power;
        const char* text;
    };
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    for (const Case& row :
         {Case{{0.0F, 500.0F}, "up to 500 W"}, Case{{0.5F, 0.75F}, "500 mW to 750 mW"},
          Case{{1.0F, 1500.0F}, "1 W to 1.5 kW"}, Case{{none, 100.0F}, "---"},
          Case{{1.0F, none}, "---"}, Case{{1.0F, -3.0F}, "---"}}) {
        sensorFakes[sensorPort_USB1].identity.sensorPower = row.power;
        SensorInformationDialog_show(sensorPort_USB1);
        EXPECT_EQ(Gui_text("sensorInfoPower"), row.text);
    }
}

TEST_F(SensorInformation, OpensForTheDisplaysPortAndOkClosesIt) {
    CGTKPowerDisplay* display = gtkSensor_powerDisplay(gtkSensorSingleChannel1);
    SensorInformationDialog_onSensorClicked(nullptr, display);
    Gui_settle();
    EXPECT_EQ(Gui_text("sensorInfoModel"), "5132");
    EXPECT_EQ(Gui_text("sensorInfoPort"), "Serial1");
    Look_expectShown(Dialog_shown(dialogName));
    Look_expectOneBaseLine("sensorInfoLabelModel", "sensorInfoModel");
    Look_expectOneBaseLine("sensorInfoLabelSerial", "sensorInfoSerial");
    Look_expectOneBaseLine("sensorInfoLabelTemperature", "sensorInfoTemperature");
    Look_expectOneBaseLine("sensorInfoLabelCarrier", "sensorInfoCarrier");
    Gui_tap("sensorInfoDialog_ok");
    EXPECT_EQ(Dialog_shown(dialogName), nullptr);
}

TEST_F(SensorInformation, TheLongestTextsStandWholeOnTheScreen) {
    SensorFake& fake = sensorFakes[sensorPort_USB1];
    snprintf(fake.model, sizeof fake.model, "%s", std::string(20, 'W').c_str());
    snprintf(fake.identity.sensorFirmwareRevision, sizeof fake.identity.sensorFirmwareRevision,
             "%s", std::string(48, 'W').c_str());
    fake.identity.sensorPower = {1.23457e-4F, 123456.0F};
    fake.identity.sensorFrequency = {123.456e6F, 1.23456e9F};
    fake.status.status = isReady;
    fake.measurements.temperatureVal = -123.4F;
    fake.measurements.freqVal = 1999.9e6F;
    fake.silence.time_ms = 6000000;
    SensorInformationDialog_show(sensorPort_USB1);
    Look_expectShown(Dialog_shown(dialogName));
}

TEST_F(SensorInformation, OpensOnlyOnceAndClosesWithItsWindow) {
    SensorInformationDialog_show(sensorPort_USB1);
    SensorInformationDialog_show(sensorPort_Serial1);
    Gui_settle();
    EXPECT_EQ(Gui_text("sensorInfoPort"), "Serial1");
    gtk_window_close(GTK_WINDOW(Dialog_shown(dialogName)));
    Gui_settle();
    EXPECT_EQ(Dialog_shown(dialogName), nullptr);
}

TEST_F(SensorInformation, OpensNothingWithoutSensorOrBeforeStartUpHasFinished) {
    SensorInformationDialog_show(sensorPort_None);
    gtk_init_done = false;
    SensorInformationDialog_onSensorClicked(nullptr,
                                            gtkSensor_powerDisplay(gtkSensorSingleChannel1));
    Gui_settle();
    EXPECT_EQ(Dialog_shown(dialogName), nullptr);
}

TEST_F(SensorInformation, TellsWhenItsInterfaceFileIsMissing) {
    const WithoutResources elsewhere;
    SensorInformationDialog_show(sensorPort_USB1);
    EXPECT_TRUE(World_syslogContains("Error loading file: "));
    EXPECT_EQ(Dialog_shown(dialogName), nullptr);
}

TEST_F(SensorInformation, BrokenInterfaceFilesOpenNothing) {
    for (const char* content :
         {brokenInterfaces[0], brokenInterfaces[1], brokenInterfaces[2],
          R"(<interface><object class="GtkWindow" id="sensorInfoDialog"/></interface>)"}) {
        const WithResource broken("sensorInfoDialog.ui", content);
        World_clearSyslog();
        SensorInformationDialog_show(sensorPort_USB1);
        EXPECT_TRUE(isBrokenInterfaceTold()) << content;
        EXPECT_EQ(Dialog_shown(dialogName), nullptr) << content;
    }
}
