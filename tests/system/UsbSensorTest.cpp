#include "MeterTest.h"
#include "ScpiClient.h"
#include "UsbIdentification.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class UsbSensor : public MeterTest {
protected:
    static std::vector<std::string> messagesOf(const std::string& log) {
        std::vector<std::string> messages;
        for (size_t at = log.find("-> "); at != std::string::npos; at = log.find("-> ", at + 1)) {
            messages.push_back(log.substr(at + 3, log.find("\\n", at) - at - 3));
        }
        return messages;
    }

    /// The messages to a sensor so far.
    std::vector<std::string> messagesTo(const std::string& port) {
        return messagesOf(logOf(port, 0));
    }

    /// Settings that were really sent to a sensor after an entry of its log: no queries, none of
    /// the messages that every cycle or start has.
    std::vector<std::string> settingsSent(const std::string& port, uint64_t after) {
        std::vector<std::string> settings;
        for (const std::string& message : messagesOf(logOf(port, after))) {
            const bool isSetting = message.find('?') == std::string::npos &&
                                   message.find(' ') != std::string::npos &&
                                   !message.starts_with("PNP:");
            if (isSetting) {
                settings.push_back(message);
            }
        }
        return settings;
    }
};

} // namespace

TEST_F(UsbSensor, TheFirstOneAsksForItsChannelAndMeasures) {
    startFast();
    plug("usb1", std::string("3164 fwd=25 rfl=0.5") + stillBooting);
    ASSERT_TRUE(shows(channelDialog::title, "Tessel CW & Pulse Sensor on USB1"));
    ASSERT_TRUE(Bench_tap(bench, channelDialog::ok));
    EXPECT_TRUE(shows("noConnection.description",
                      "A Tessel CW & Pulse sensor on port USB1 is powering on and initializing. "
                      "Please wait."));
    ASSERT_TRUE(comesUp("usb1"));
    EXPECT_TRUE(shows("single.fwd.value", "  25.00", readingLimit_ms));
    EXPECT_TRUE(shows("single.rfl.value", "  500.0"));
    EXPECT_TRUE(shows("single.title", "3164: 316400125"));
}

TEST_F(UsbSensor, TheFirstToAppearIsUsb1WhateverItsConnector) {
    startFast();
    plug("usb2", "3162 fwd=25");
    ASSERT_TRUE(shows(channelDialog::title, "Tessel CW & Pulse Sensor on USB1"));
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(waitForReading("single.fwd.value"));
    plug("usb1", std::string("3164 fwd=4") + stillBooting);
    EXPECT_TRUE(shows("lower.noConnection.description",
                      "A Tessel CW & Pulse sensor on port USB2 is powering on and initializing. "
                      "Please wait."));
    ASSERT_TRUE(comesUp("usb1"));
    EXPECT_TRUE(shows("lower.fwd.value", "  4.000", readingLimit_ms));
    EXPECT_TRUE(shows("upper.fwd.value", "  25.00"));
}

TEST_F(UsbSensor, OfTwoAtOnceTheUsbSensorIsAskedFor) {
    startFast({"plug serial1 5132 fwd=25", "plug usb1 3164 fwd=4"});
    ASSERT_TRUE(shows(channelDialog::title, "Tessel CW & Pulse Sensor on USB1"));
    ASSERT_TRUE(chooseChannel(1));
    EXPECT_TRUE(shows("upper.fwd.value", "  4.000", readingLimit_ms));
    EXPECT_TRUE(shows("lower.fwd.value", "  25.00", readingLimit_ms));
}

TEST_F(UsbSensor, AThirdSensorIsAdmittedWhenOneLeaves) {
    startFast();
    plugFirst("serial1", "5132 fwd=25");
    plug("serial2", "5134 fwd=4");
    ASSERT_TRUE(shows("lower.fwd.value", "  4.000", readingLimit_ms));
    plug("usb1", "3164 fwd=9");
    const size_t passes = 4;
    const size_t before = Bench_countInSyslog(bench, "logMeasurements()");
    ASSERT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "logMeasurements()") > before + 2 * passes; },
        readingLimit_ms));
    EXPECT_TRUE(messagesTo("usb1").empty());
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    EXPECT_TRUE(shows("upper.fwd.value", "  9.000", readingLimit_ms));
    EXPECT_TRUE(shows("lower.fwd.value", "  4.000"));
    EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window));
}

TEST_F(UsbSensor, TheConversationBeginsAsItMust) {
    start(); // on a raced clock a busy machine's replies may come too late, and it begins anew
    plugFirst("usb1", "3164 fwd=25");
    std::vector<std::string> messages;
    for (const std::string& message : messagesTo("usb1")) {
        if (message.find("SYST:ERR") == std::string::npos) {
            messages.push_back(message);
        }
    }
    ASSERT_GE(messages.size(), usbIdentification.size());
    messages.resize(usbIdentification.size());
    EXPECT_EQ(messages, usbIdentification);
}

TEST_F(UsbSensor, ModelsWithoutPulseSettingsAreNeverAskedForThem) {
    for (const char* model : {"3163", "3165"}) {
        startFast();
        plugFirst("usb1", std::string(model) + " fwd=25");
        for (const std::string& message : messagesTo("usb1")) {
            EXPECT_THAT(message, Not(HasSubstr("SENS:PER"))) << model;
            EXPECT_THAT(message, Not(HasSubstr("SENS:SWE"))) << model;
            EXPECT_THAT(message, Not(HasSubstr("TRIG"))) << model;
            EXPECT_THAT(message, Not(HasSubstr("CALC:STAT"))) << model;
        }
        Bench_stop(bench);
    }
}

TEST_F(UsbSensor, ConnectingCreatesTheFileOfPulseSettings) {
    startFast();
    EXPECT_EQ(Bench_readFile(bench, instrumentFile::pulse), "");
    plugFirst("usb1", "3164 fwd=25");
    EXPECT_TRUE(fileSays(instrumentFile::pulse, "\"name\": \"Default\""));
}

TEST_F(UsbSensor, ASensorThatIsReplacedQuicklyIsFoundAgain) {
    startFast();
    plugFirst("usb1", "3164 fwd=25");
    int power_W = 36;
    for (const char* gap : {"0s", "200ms", "400ms", "2s"}) {
        ASSERT_TRUE(Bench_do(bench, std::string("replug usb1 ") + gap));
        const std::string power = std::to_string(++power_W);
        bool isSet = false;
        // Whether detection sees the gap, and when, is a matter of luck: the dialog may come.
        const auto measuresAgain = [&] {
            isSet = isSet || Bench_do(bench, "set usb1 fwd=" + power);
            answerIfAsked();
            const auto value = Bench_widget(bench, "single.fwd.value");
            return value && value->isVisible && value->text.find(power) != std::string::npos;
        };
        EXPECT_TRUE(Bench_waitUntil(measuresAgain, readingLimit_ms)) << gap;
        EXPECT_TRUE(shows("single.title", "3164: 316400125")) << gap;
    }
}

TEST_F(UsbSensor, InPulseModeThePulseReadingsAreFetched) {
    startFast({}, "sensorPulseMode 1\n");
    plug("usb1", "3164 fwd=25 period=1ms width=250us");
    ASSERT_TRUE(chooseChannel(1));
    for (const char* query : {"FETC:PER?", "FETC:PRF?", "FETC:WIDT?", "FETC:DCYC?",
                              "FETC:GATE:MEAN?", "FETC:GATE:MAX?", "FETC:GATE:MIN?"}) {
        EXPECT_TRUE(waitForLog("usb1", 0, query)) << query;
    }
}

TEST_F(UsbSensor, ThePulseScreenShowsWhatTheSensorMeasures) {
    startFast({}, "sensorPulseMode 1\n");
    plug("usb1", "3164 fwd=25 rfl=0.5 period=1ms width=250us gate=100:120:80");
    ASSERT_TRUE(chooseChannel(1));
    const struct {
        const char* name;
        const char* text;
    } values[] = {
        {"pulse.valueFwd", "  25.00"},    {"pulse.valueRfl", "  500.0"},
        {"pulse.valuePeriod", " 1000.0"}, {"pulse.unitsPeriod", "us"},
        {"pulse.valueRepeat", " 1000.0"}, {"pulse.unitsRepeat", "Hz"},
        {"pulse.valueWidth", "  250.0"},  {"pulse.unitsWidth", "us"},
        {"pulse.valueDuty", "25.00"},     {"pulse.valueFreq", " 13.560"},
        {"pulse.unitsFreq", "MHz"},       {"pulse.btnTitle.text", "3164: 316400125"},
    };
    for (const auto& value : values) {
        EXPECT_TRUE(shows(value.name, value.text, readingLimit_ms));
    }
    ASSERT_TRUE(Bench_tap(bench, "pulse.tabGatedPower"));
    EXPECT_TRUE(shows("pulse.valueGatedMean", " 100.00"));
    EXPECT_TRUE(shows("pulse.valueGatedMax", " 120.00"));
    EXPECT_TRUE(shows("pulse.valueGatedMin", "  80.00"));
}

TEST_F(UsbSensor, APulseScreenHasTheNameOfTheSensorThatCameUpOnIt) {
    startFast({}, "sensorPulseMode 1\n");
    plug("usb1", "3164 fwd=25 period=1ms width=250us");
    ASSERT_TRUE(chooseChannel(1));
    plug("usb2", "3164 fwd=4 period=1ms width=250us serial=999888777");
    ASSERT_TRUE(becomesVisible("3164: 999888777", true, readingLimit_ms)); // its title
    // It is replaced, mostly before detection can look, and the other one is pulled while it comes
    // up: the pulse screen says that it connects or, if detection did look, the screen without a
    // connection says so.
    ASSERT_TRUE(Bench_do(bench, std::string("set usb2") + stillBooting));
    const uint64_t before = lastEntry("usb2");
    ASSERT_TRUE(Bench_do(bench, "replug usb2 0s"));
    ASSERT_TRUE(waitForLog("usb2", before, "-> *RST"));
    ASSERT_TRUE(Bench_do(bench, "unplug usb1"));
    const auto saysConnecting = [&](const char* name) {
        const auto widget = Bench_widget(bench, name);
        return widget && widget->isVisible && widget->text == "Connecting...";
    };
    ASSERT_TRUE(Bench_waitUntil(
        [&] {
            return saysConnecting("pulse.btnTitle.text") || saysConnecting("noConnection.title");
        },
        screenLimit_ms));
    ASSERT_TRUE(comesUp("usb2"));
    EXPECT_TRUE(shows("pulse.btnTitle.text", "3164: 999888777", readingLimit_ms));
    EXPECT_TRUE(shows("pulse.valueFwd", "  4.000", readingLimit_ms));
}

TEST_F(UsbSensor, AQuestionablePulseBlanksThePulseReadings) {
    startFast({}, "sensorPulseMode 1\n");
    plug("usb1", "3164 fwd=25 period=1ms width=250us");
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(shows("pulse.valueWidth", "  250.0", readingLimit_ms));
    ASSERT_TRUE(Bench_do(bench, "set usb1 questionable=512"));
    EXPECT_TRUE(shows("pulse.valueWidth", " 0.0000"));
    EXPECT_TRUE(shows("pulse.valueDuty", "0.00"));
    EXPECT_TRUE(shows("pulse.valueFwd", "  25.00"));
    ASSERT_TRUE(Bench_do(bench, "set usb1 questionable=0"));
    EXPECT_TRUE(shows("pulse.valueWidth", "  250.0"));
}

TEST_F(UsbSensor, InPulseModeASerialSensorKeepsItsScreen) {
    startFast({}, "sensorPulseMode 1\n");
    plugFirst("serial1", "5132 fwd=25");
    plug("usb1", "3164 fwd=4 period=1ms width=250us");
    EXPECT_TRUE(shows("pulse.valueFwd", "  4.000", readingLimit_ms));
    EXPECT_TRUE(shows("upper.fwd.value", "  25.00"));
}

TEST_F(UsbSensor, SwitchingTheModeSendsWhatDiffersInItsOrder) {
    const struct {
        const char* model;
        std::vector<std::string> connected; ///< sent at the start, in CW mode
        std::vector<std::string> pulse;     ///< sent after switching to pulse mode
        std::vector<std::string> wave;      ///< and back
    } cases[] = {
        {"3164",
         {"SENS:PER:AUTO 0", "SENS:SWE:TIME:AUTO 0", "SENS:PER 0.010000", "SENS:SWE:TIME 0.010000"},
         {"SENS:REFL:ENAB 1", "SENS:PER:AUTO 1", "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR INT",
          "TRIG:SLOP NEG"},
         {"SENS:PER:AUTO 0", "SENS:SWE:TIME:AUTO 0"}},
        {"3163", {}, {"SENS:REFL:ENAB 1"}, {}},
    };
    for (const auto& c : cases) {
        start(); // on a raced clock a busy machine's replies may come too late: all is sent again
        plugFirst("usb1", std::string(c.model) + " fwd=25 period=1ms width=250us");
        EXPECT_EQ(settingsSent("usb1", 0), c.connected) << c.model;

        ScpiClient client(bench);
        ASSERT_TRUE(client.isConnected());
        uint64_t before = lastEntry("usb1");
        ASSERT_TRUE(client.send("SYST:PULS 1"));
        EXPECT_EQ(client.ask("SYST:PULS?"), "1");
        EXPECT_TRUE(shows("pulse.valueWidth", "  250.0", readingLimit_ms)) << c.model;
        EXPECT_TRUE(
            Bench_waitUntil([&] { return settingsSent("usb1", before).size() >= c.pulse.size(); },
                            readingLimit_ms));
        EXPECT_EQ(settingsSent("usb1", before), c.pulse) << c.model;

        before = lastEntry("usb1");
        ASSERT_TRUE(client.send("SYST:PULS 0"));
        EXPECT_TRUE(shows("single.fwd.value", "  25.00", readingLimit_ms)) << c.model;
        EXPECT_TRUE(Bench_waitUntil(
            [&] { return settingsSent("usb1", before).size() >= c.wave.size(); }, readingLimit_ms));
        EXPECT_EQ(settingsSent("usb1", before), c.wave) << c.model;
        Bench_stop(bench);
    }
}

TEST_F(UsbSensor, ARemoteClientReadsWhatTheScreenShows) {
    startFast();
    plugFirst("usb1", "3164 fwd=25 rfl=0.5");
    ScpiClient client(bench);
    ASSERT_TRUE(client.isConnected());
    const auto readsForward = [&] {
        return std::abs(strtod(client.ask("MEAS:FORW:AVER?").c_str(), nullptr) - 25) < 0.001;
    };
    EXPECT_TRUE(Bench_waitUntil(readsForward, readingLimit_ms));
}
