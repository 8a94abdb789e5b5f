// The pulse configuration dialog, from the finger to the sensor's wire and the file.

#include "MeterTest.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class PulseDialog : public MeterTest {
protected:
    /// The meter in pulse mode with one measuring sensor, whose dialog is open.
    void openFor(const char* sensor) {
        startFast({}, "sensorPulseMode 1\n");
        plug("usb1", sensor);
        ASSERT_TRUE(chooseChannel(1));
        ASSERT_TRUE(waitForReading("pulse.valueFwd"));
        ASSERT_TRUE(Bench_tap(bench, "pulse.btnConfig"));
        ASSERT_TRUE(becomesVisible("pulseConfigDialog", true));
    }

    /// The same, and the sensor is pulled.
    void openForOneThatGoes() {
        openFor("3164 fwd=25 period=1ms width=250us");
        ASSERT_TRUE(Bench_do(bench, "unplug usb1"));
        ASSERT_TRUE(shows("pulseConfigStatus", "The sensor has gone."));
    }

    /// Plugs a sensor in: the question for its channel stands above the dialog, which stays as it
    /// is.
    void plugAboveTheDialog(const char* port, const char* sensor) {
        plug(port, sensor);
        ASSERT_TRUE(becomesVisible(channelDialog::window, true));
        Bench_tap(bench, "pulseConfigCancel");
        ASSERT_TRUE(chooseChannel(1));
        EXPECT_TRUE(shows("pulseConfigStatus", "The sensor has gone."));
    }

    void type(const std::string& entry, const std::string& digits) {
        ASSERT_TRUE(Bench_tap(bench, entry));
        for (const char digit : digits) {
            ASSERT_TRUE(Bench_tap(bench, std::string("pulseConfigKey") + digit));
        }
    }
};

} // namespace

TEST_F(PulseDialog, WhatIsTypedReachesTheSensorAndTheFile) {
    openFor("3164 fwd=25 period=1ms width=250us");
    const uint64_t before = lastEntry("usb1");
    Bench_tap(bench, "pulseConfigPeriodAuto");
    type("pulseConfigPeriod", "25");
    type("pulseConfigGateBegin", "150");
    Bench_tap(bench, "pulseConfigStore");
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false, readingLimit_ms));
    const std::string log = logOf("usb1", before);
    size_t at = 0;
    for (const char* command : {"-> SENS:PER:AUTO 0", "-> SENS:PER ", "-> CALC:GATE:BEG:DEL "}) {
        const size_t found = log.find(command, at);
        EXPECT_NE(found, std::string::npos) << command;
        at = found == std::string::npos ? at : found;
    }
    const std::string stored = Bench_readFile(bench, instrumentFile::pulse);
    EXPECT_THAT(stored, HasSubstr("\"autoPeriod\": 0"));
    EXPECT_THAT(stored, HasSubstr("\"periodValue\": 0.0250000"));
    EXPECT_THAT(stored, HasSubstr("\"gateBegin\": 0.0001"));
}

TEST_F(PulseDialog, ASensorWithoutStatesIsNeverSentPeriodTriggerOrStates) {
    openFor("3163 fwd=25 period=1ms width=250us");
    EXPECT_TRUE(becomesVisible("pulseConfigPeriod", false));
    const uint64_t before = lastEntry("usb1");
    type("pulseConfigGateBegin", "150");
    Bench_tap(bench, "pulseConfigApply");
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false, readingLimit_ms));
    const std::string log = logOf("usb1", before);
    EXPECT_THAT(log, HasSubstr("-> CALC:GATE:BEG:DEL "));
    for (const char* foreign : {"SENS:PER", "TRIG:", "CALC:STAT"}) {
        EXPECT_THAT(log, Not(HasSubstr(foreign)));
    }
}

TEST_F(PulseDialog, WhatTheSensorRefusesIsToldAndNotStored) {
    openFor("3164 fwd=25 period=1ms width=250us");
    const std::string stored = Bench_readFile(bench, instrumentFile::pulse);
    ASSERT_TRUE(Bench_do(bench, "fault usb1 error:-222:CALC:GATE:BEG:DEL"));
    type("pulseConfigGateBegin", "150");
    Bench_tap(bench, "pulseConfigStore");
    ASSERT_TRUE(becomesVisible("pulseConfigError", true, readingLimit_ms));
    EXPECT_TRUE(shows("pulseConfigErrorText", "Parameter Errors occured in the sensor.\n\r"
                                              "See the manual for valid parmaeter ranges:\n\r"
                                              "  Gate Begin is not valid\n\r"));
    Bench_tap(bench, "pulseConfigErrorOk");
    EXPECT_TRUE(becomesVisible("pulseConfigError", false));
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", true));
    EXPECT_EQ(Bench_readFile(bench, instrumentFile::pulse), stored);
}

TEST_F(PulseDialog, ASensorThatIsPulledWhileItIsSentEndsTheWait) {
    openFor("3164 fwd=25 period=1ms width=250us");
    const std::string stored = Bench_readFile(bench, instrumentFile::pulse);
    ASSERT_TRUE(Bench_do(bench, "fault usb1 silence"));
    type("pulseConfigGateBegin", "150");
    Bench_tap(bench, "pulseConfigStore");
    EXPECT_TRUE(shows("pulseConfigStatus", "Sending to the sensor..."));
    ASSERT_TRUE(Bench_do(bench, "unplug usb1"));
    ASSERT_TRUE(becomesVisible("pulseConfigError", true, readingLimit_ms));
    EXPECT_TRUE(shows("pulseConfigErrorText", "The sensor has gone.\nNothing has been stored."));
    Bench_tap(bench, "pulseConfigErrorOk");
    Bench_tap(bench, "pulseConfigCancel");
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false));
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    EXPECT_EQ(Bench_readFile(bench, instrumentFile::pulse), stored);
}

TEST_F(PulseDialog, TheQuestionForAChannelIsAnsweredAboveTheDialogOfASensorThatHasGone) {
    openForOneThatGoes();
    plugAboveTheDialog("serial1", "5132 fwd=36");
    ASSERT_TRUE(Bench_tap(bench, "pulseConfigCancel"));
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false));
    EXPECT_TRUE(shows("single.fwd.value", "  36.00", readingLimit_ms));
    ASSERT_TRUE(Bench_tap(bench, "single.title"));
    EXPECT_TRUE(becomesVisible("sensorInfoDialog", true)) << "the screen answers again";
}

TEST_F(PulseDialog, TellsWhichOfTwoEqualSensorsIsMeant) {
    openFor("3164 fwd=25 period=1ms width=250us");
    EXPECT_TRUE(shows("pulseConfigTitle", "Pulse configuration: 3164 on USB1"));
    Bench_tap(bench, "pulseConfigCancel");
    plug("usb2", "3164 fwd=36 period=1ms width=250us serial=201100288");
    ASSERT_TRUE(shows("3164: 201100288", "3164: 201100288", readingLimit_ms));
    ASSERT_TRUE(Bench_do(bench, "unplug usb1"));
    ASSERT_TRUE(shows("pulse.valueFwd", "  36.00", readingLimit_ms));
    ASSERT_TRUE(Bench_tap(bench, "pulse.btnConfig"));
    EXPECT_TRUE(shows("pulseConfigTitle", "Pulse configuration: 3164 on USB2"));
}

TEST_F(PulseDialog, ASensorThatComesInPlaceOfTheOneThatHasGoneGetsItsOwnDialog) {
    openForOneThatGoes();
    plugAboveTheDialog("usb1", "3164 fwd=36 period=1ms width=250us");
    ASSERT_TRUE(Bench_tap(bench, "pulseConfigCancel"));
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false));
    ASSERT_TRUE(shows("pulse.valueFwd", "  36.00", readingLimit_ms));
    ASSERT_TRUE(Bench_tap(bench, "pulse.btnConfig"));
    ASSERT_TRUE(becomesVisible("pulseConfigDialog", true));
    EXPECT_TRUE(shows("pulseConfigStatus", ""));
    Bench_tap(bench, "pulseConfigApply");
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false, readingLimit_ms));
}

TEST_F(PulseDialog, TheQuestionForAChannelIsAnsweredAboveAnErrorToo) {
    openFor("3164 fwd=25 period=1ms width=250us");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 silence"));
    Bench_tap(bench, "pulseConfigApply");
    EXPECT_TRUE(shows("pulseConfigStatus", "Sending to the sensor..."));
    ASSERT_TRUE(Bench_do(bench, "unplug usb1"));
    ASSERT_TRUE(becomesVisible("pulseConfigError", true, readingLimit_ms));
    plugAboveTheDialog("serial1", "5132 fwd=36");
    ASSERT_TRUE(Bench_tap(bench, "pulseConfigErrorOk"));
    EXPECT_TRUE(becomesVisible("pulseConfigError", false));
    ASSERT_TRUE(Bench_tap(bench, "pulseConfigCancel"));
    EXPECT_TRUE(becomesVisible("pulseConfigDialog", false));
    EXPECT_TRUE(shows("single.fwd.value", "  36.00", readingLimit_ms));
}

TEST_F(PulseDialog, CancelWhileItIsSentEndsItsThread) {
    openFor("3164 fwd=25 period=1ms width=250us");
    const std::string stored = Bench_readFile(bench, instrumentFile::pulse);
    const int threads = Bench_programUse(bench).threads;
    ASSERT_TRUE(Bench_do(bench, "fault usb1 silence"));
    for (const char* button : {"pulseConfigApply", "pulseConfigStore"}) {
        type("pulseConfigGateBegin", "150");
        Bench_tap(bench, button);
        EXPECT_TRUE(shows("pulseConfigStatus", "Sending to the sensor..."));
        Bench_tap(bench, "pulseConfigCancel");
        EXPECT_TRUE(becomesVisible("pulseConfigDialog", false));
        const auto hasEnded = [&] { return Bench_programUse(bench).threads <= threads; };
        EXPECT_TRUE(Bench_waitUntil(hasEnded, screenLimit_ms)) << button;
        ASSERT_TRUE(Bench_tap(bench, "pulse.btnConfig"));
        ASSERT_TRUE(becomesVisible("pulseConfigDialog", true));
    }
    EXPECT_EQ(Bench_readFile(bench, instrumentFile::pulse), stored);
}
