// The display state machine on the real screens.

#include "CSensorDisplayFSM.h"
#include "GtkHelpers.h"
#include "ScreenFixture.h"
#include "ScreenView.h"

#include <cmath>
#include <string>

namespace {

class DisplayMachine : public Screens {
protected:
    void SetUp() override {
        Screens::SetUp();
        for (GtkWidget* container :
             {entireScreen.singleMeasurementView, entireScreen.dualMeasurementViews[0],
              entireScreen.dualMeasurementViews[1], entireScreen.dualSensorContainer}) {
            setWidgetVisible(container, false);
        }
        CSensorDisplayFSM_registerView(screenView);
        CSensorDisplayFSM_reset();
        CSensorDisplayFSM_setCW();
        CSensorDisplayFSM_hideGraph();
    }

    static void connect(uint32_t port, uint32_t channel) {
        sensorFakes[port].logicalChannel = channel;
        sensorFakes[port].status.status = notReady;
        CSensorDisplayFSM_connect(port);
        Gui_settle();
    }

    static void measure(uint32_t port, float fwd_W, float rfl_W) {
        sensorFakes[port].status.status = isReady;
        sensorFakes[port].measurements.fwdPwrVal = fwd_W;
        sensorFakes[port].measurements.rflPwrVal = rfl_W;
        CSensorDisplayFSM_updateMeasurements(port);
        Gui_settle();
    }
};

TEST_F(DisplayMachine, ASensorConnectsMeasuresAndLeaves) {
    connect(sensorPort_Serial1, 0);
    EXPECT_TRUE(Gui_isShown("noConnection.title"));
    EXPECT_EQ(Gui_text("noConnection.title"), "Connecting...");
    EXPECT_EQ(Gui_text("noConnection.description"),
              "A Tessel CW sensor on port Serial1 is powering on and initializing. Please wait.");
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    EXPECT_FALSE(Gui_isShown("noConnection.title"));
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
    EXPECT_EQ(Gui_text("single.fwd.value"), "  25.00");
    EXPECT_EQ(Gui_text("single.title"), "5132: 123456789");
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    Gui_settle();
    EXPECT_FALSE(Gui_isShown("single.fwd.value"));
    EXPECT_EQ(Gui_text("noConnection.title"), "No Sensor Detected");
    EXPECT_TRUE(Gui_isShown("noConnection.title"));
}

TEST_F(DisplayMachine, TwoSensorsShareTheScreen) {
    connect(sensorPort_Serial1, 0);
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    connect(sensorPort_Serial2, 1);
    EXPECT_TRUE(Gui_isShown("upper.fwd.value"));
    EXPECT_TRUE(Gui_isShown("lower.noConnection.title"));
    EXPECT_EQ(Gui_text("lower.noConnection.title"), "Connecting...");
    measure(sensorPort_Serial1, 26.0F, 0.5F);
    measure(sensorPort_Serial2, 3.0F, 0.5F);
    EXPECT_EQ(Gui_text("upper.fwd.value"), "  26.00");
    EXPECT_TRUE(Gui_isShown("lower.fwd.value"));
    EXPECT_EQ(Gui_text("lower.fwd.value"), "  3.000");
    EXPECT_FALSE(Gui_isShown("single.fwd.value"));
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    measure(sensorPort_Serial2, 4.0F, 0.5F);
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
    EXPECT_EQ(Gui_text("single.fwd.value"), "  4.000");
}

TEST_F(DisplayMachine, ANewSensorStartsWithBlanks) {
    connect(sensorPort_Serial1, 0);
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    connect(sensorPort_Serial1, 0);
    measure(sensorPort_Serial1, NAN, NAN);
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
    for (const char* name : {"single.fwd.value", "single.rfl.value", "single.match.value"}) {
        EXPECT_EQ(Gui_text(name).find_first_not_of(' '), std::string::npos) << name;
    }
}

TEST_F(DisplayMachine, TheGraphSettingSwitchesTheScreens) {
    connect(sensorPort_Serial1, 0);
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    CSensorDisplayFSM_showGraph();
    measure(sensorPort_Serial1, 26.0F, 0.5F);
    EXPECT_TRUE(Gui_isShown("singleGraph.fwd.value"));
    EXPECT_FALSE(Gui_isShown("single.fwd.value"));
    EXPECT_EQ(Gui_text("singleGraph.fwd.value"), "  26.00");
    CSensorDisplayFSM_hideGraph();
    Gui_settle();
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
}

TEST_F(DisplayMachine, AFatalSensorErrorIsShown) {
    connect(sensorPort_Serial2, 0);
    sensorFakes[sensorPort_Serial2].status.status = hasFatalError;
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial2);
    Gui_settle();
    EXPECT_TRUE(Gui_isShown("noConnection.title"));
    EXPECT_EQ(Gui_text("noConnection.title"), "Critical Sensor Error");
}

TEST_F(DisplayMachine, AnErrorMessageNamesThePort) {
    setErrorMessage(gtkSensorDualNoConnectionCh2, sensorPort_USB1);
    EXPECT_EQ(Gui_text("lower.noConnection.title"), "Critical Sensor Error on port USB1 (2)");
    EXPECT_EQ(Gui_text("lower.noConnection.description"), "");
}

TEST_F(DisplayMachine, ALineThatIsOffBeforeTheStartNeverShows) {
    configuration_setDisplayReflectedPower(false);
    CGTKPowerDisplay_updateLines(gtkSensor_cwDisplay(gtkSensorSingleChannel1));
    connect(sensorPort_Serial1, 0);
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
    EXPECT_FALSE(Gui_isShown("single.rfl.value"));
    EXPECT_FALSE(Gui_isShown("single.rfl.scaleUp"));
}

TEST_F(DisplayMachine, OldValuesKeepTheirLookBesideASignOfTheirAge) {
    connect(sensorPort_Serial1, 0);
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    EXPECT_FALSE(Gui_isShown("single.silence"));
    sensorFakes[sensorPort_Serial1].silence.time_ms = 12000;
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    EXPECT_TRUE(Gui_isShown("single.silence"));
    EXPECT_EQ(Gui_text("single.silence"), "no reading for 12 s");
    EXPECT_EQ(Gui_colour("single.silence"), "#ffa000");
    EXPECT_EQ(Gui_text("single.fwd.value"), "  25.00");
    EXPECT_EQ(Gui_colour("single.fwd.value"), "#ffffff");
    EXPECT_EQ(Gui_text("single.title"), "5132: 123456789");
    EXPECT_EQ(Gui_colour("single.title"), "#ffd766");
    sensorFakes[sensorPort_Serial1].silence.time_ms = 0;
    measure(sensorPort_Serial1, 26.0F, 0.5F);
    EXPECT_FALSE(Gui_isShown("single.silence"));
}

TEST_F(DisplayMachine, TheSignIsNotLeftToTheNextSensor) {
    connect(sensorPort_Serial1, 0);
    sensorFakes[sensorPort_Serial1].silence.time_ms = 12000;
    measure(sensorPort_Serial1, 25.0F, 0.5F);
    ASSERT_TRUE(Gui_isShown("single.silence"));
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    connect(sensorPort_Serial2, 0);
    measure(sensorPort_Serial2, 4.0F, 0.5F);
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
    EXPECT_FALSE(Gui_isShown("single.silence"));
}

} // namespace
