// What goes over the wire, word for word, with every model and in every mode.

#include "UsbIdentification.h"
#include "UsbSensorFixture.h"

#include <initializer_list>
#include <ostream>

namespace {

Messages joined(std::initializer_list<Messages> parts) {
    Messages whole;
    for (const Messages& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

/// A setting that differs: read back, sent, and the sensor's errors asked for.
Messages changed(const std::string& header, const std::string& value) {
    return {header + "?", header + " " + value, "SYST:ERR:COUN?"};
}

/// A setting that the sensor has already.
Messages same(const std::string& header) {
    return {header + "?", "SYST:ERR:COUN?"};
}

/// With a plug-and-play file of two blocks.
const Messages identification = joined(
    {{"<O>", "<I>", "<C>"}, usbIdentification, {"PNP:FILE:BLOC:NUMB 2", "PNP:FILE:BLOC:DATA?"}});

const Messages simpleConfiguration = {"SENS:FREQ:AUTO?", "SENS:FREQ?"};

const Messages wholeConfiguration = {
    "SENS:PER:AUTO?",      "SENS:PER?",           "SYST:ERR:COUN?",      "SENS:FREQ:AUTO?",
    "SENS:FREQ?",          "TRIG:LEV:AUTO?",      "TRIG:LEV?",           "TRIG:DEL?",
    "CALC:STAT1:ENAB?",    "CALC:STAT1:BEG:DEL?", "CALC:STAT1:END:DEL?", "CALC:STAT2:ENAB?",
    "CALC:STAT2:BEG:DEL?", "CALC:STAT2:END:DEL?", "CALC:STAT3:ENAB?",    "CALC:STAT3:BEG:DEL?",
    "CALC:STAT3:END:DEL?", "CALC:STAT4:ENAB?",    "CALC:STAT4:BEG:DEL?", "CALC:STAT4:END:DEL?",
};

const Messages cwSettings =
    joined({changed("SENS:PER:AUTO", "0"), changed("SENS:SWE:TIME:AUTO", "0"),
            changed("SENS:PER", "0.010000"), changed("SENS:SWE:TIME", "0.010000")});

/// A measurement up to the point where gate and states differ.
const Messages measurement = {
    "INIT",       "*OPC?",     "*STB?",     "FETC:FORW:AVER?", "FETC:REFL:AVER?", "FETC:FREQ?",
    "FETC:TEMP?", "FETC:PER?", "FETC:PRF?", "FETC:WIDT?",      "FETC:DCYC?",
};

const Messages gate = {"FETC:GATE:MEAN?", "FETC:GATE:MAX?", "FETC:GATE:MIN?"};

/// The first and the third state are measured.
const Messages states = {
    "CALC:STAT1:ENAB?", "FETC:STAT1:MEAN?", "FETC:STAT1:MAX?",  "FETC:STAT1:MIN?",
    "CALC:STAT2:ENAB?", "CALC:STAT3:ENAB?", "FETC:STAT3:MEAN?", "FETC:STAT3:MAX?",
    "FETC:STAT3:MIN?",  "CALC:STAT4:ENAB?",
};

const Messages frequencyAndReflected =
    joined({changed("SENS:FREQ:AUTO", "0"), changed("SENS:FREQ", "40.680000"),
            changed("SENS:REFL:ENAB", "1")});

const Messages periodAndTrigger =
    joined({changed("SENS:PER:AUTO", "0"), changed("SENS:SWE:TIME:AUTO", "0"),
            changed("SENS:PER", "0.250000"), changed("SENS:SWE:TIME", "0.250000"),
            changed("TRIG:SOUR", "INT"), same("TRIG:LEV:AUTO"), changed("TRIG:LEV", "12.500000"),
            changed("TRIG:SLOP", "POS"), changed("TRIG:DEL", "-0.125000")});

const Messages gateSettings =
    joined({changed("CALC:GATE:BEG:DEL", "0.000100"), changed("CALC:GATE:END:DEL", "-0.000200")});

const Messages stateSettings =
    joined({changed("CALC:STAT1:BEG:DEL", "0.010000"), changed("CALC:STAT1:END:DEL", "0.020000"),
            changed("CALC:STAT1:ENAB", "1"), same("CALC:STAT2:ENAB"),
            changed("CALC:STAT3:BEG:DEL", "0.030000"), changed("CALC:STAT3:END:DEL", "0.040000"),
            changed("CALC:STAT3:ENAB", "1"), same("CALC:STAT4:ENAB")});

SENSOR_CONFIGS manualConfigs(bool isTriggered) {
    SENSOR_CONFIGS configs{};
    configs.freqVal = 40680000.0F;
    configs.prdVal = 0.25F;
    configs.trigLevelVal = 12.5F;
    configs.trigSlope = 1;
    configs.trigDelayVal = -0.125F;
    configs.bModelIsTriggeredGates = isTriggered;
    configs.numStates = 3;
    configs.pulseStates[0] = {true, 0.01F, 0.02F};
    configs.pulseStates[2] = {true, 0.03F, 0.04F};
    configs.gateBegin = 0.0001F;
    configs.gateEnd = -0.0002F;
    return configs;
}

struct Model {
    const char* name;
    bool hasPulseFeatures;
};

/// As it is named when it fails.
void PrintTo(const Model& model, std::ostream* output) {
    *output << model.name;
}

constexpr Model models[] = {{"3162", true}, {"3163", false}, {"3164", true}, {"3165", false}};

class UsbConversation : public UsbSensor, public testing::WithParamInterface<Model> {
protected:
    UsbConversation() {
        device.setReply("SYST:IDEN:MOD?", GetParam().name);
        device.setReply("PNP:FILE:BLOC:TOT?", "2");
        device.setReply("TRIG:LEV:AUTO?", "0");
    }

    /// What is said until the machine is idle after this state.
    Messages saidFrom(sensorUsbCommState state) {
        device.clearMessages();
        handler.usbtmcSubstate = 0;
        EXPECT_EQ(run(state, stateUsbIdle), stateUsbIdle);
        return device.messages();
    }

    /// The same for one cycle.
    Messages saidInACycle() {
        return saidFrom(stateUsbSendConfig);
    }

    /// A configuration is handed over, as the dialog and remote control do.
    void handOver(bool isTriggered) {
        handler.sensorConfigs = manualConfigs(isTriggered);
        setCapabilities(GetParam().hasPulseFeatures);
        handler.newConfig = true;
    }

    static Messages configuration() {
        return GetParam().hasPulseFeatures ? wholeConfiguration : simpleConfiguration;
    }
};

} // namespace

TEST_P(UsbConversation, InCwModeIsThis) {
    const Messages fixed = GetParam().hasPulseFeatures ? cwSettings : Messages();
    EXPECT_EQ(saidFrom(stateUsbStart),
              joined({identification, configuration(), fixed, measurement, gate}));
    EXPECT_EQ(saidInACycle(), joined({measurement, gate}));
}

TEST_P(UsbConversation, InPulseModeIsThis) {
    configuration_setPulseMode(true);
    EXPECT_EQ(saidFrom(stateUsbStart),
              joined({identification, configuration(), measurement, gate}));
    EXPECT_EQ(saidInACycle(), joined({measurement, gate}));
}

TEST_P(UsbConversation, WithAGateThatIsHandedOverIsThis) {
    configuration_setPulseMode(true);
    saidFrom(stateUsbStart);
    handOver(false);
    const Messages settings = GetParam().hasPulseFeatures ? periodAndTrigger : Messages();
    EXPECT_EQ(saidInACycle(),
              joined({frequencyAndReflected, settings, gateSettings, measurement, gate}));
    EXPECT_EQ(saidInACycle(), joined({measurement, gate}));
}

TEST_P(UsbConversation, WithStatesThatAreHandedOverIsThis) {
    configuration_setPulseMode(true);
    saidFrom(stateUsbStart);
    handOver(true);
    if (GetParam().hasPulseFeatures) {
        EXPECT_EQ(saidInACycle(), joined({frequencyAndReflected, periodAndTrigger, stateSettings,
                                          measurement, states}));
        EXPECT_EQ(saidInACycle(), joined({measurement, states}));
    } else {
        EXPECT_EQ(saidInACycle(), joined({frequencyAndReflected, gateSettings, measurement, gate}));
    }
}

TEST_P(UsbConversation, OfASwitchOfTheModeIsThis) {
    saidFrom(stateUsbStart);
    configuration_setPulseMode(true);
    const Messages toPulse =
        GetParam().hasPulseFeatures
            ? joined({same("SENS:FREQ:AUTO"), changed("SENS:REFL:ENAB", "1"),
                      changed("SENS:PER:AUTO", "1"), changed("SENS:SWE:TIME:AUTO", "1"),
                      changed("TRIG:SOUR", "INT"), same("TRIG:LEV:AUTO"), same("TRIG:LEV"),
                      changed("TRIG:SLOP", "NEG"), same("TRIG:DEL")})
            : joined({same("SENS:FREQ:AUTO"), changed("SENS:REFL:ENAB", "1")});
    const Messages gateAsItIs = joined({same("CALC:GATE:BEG:DEL"), same("CALC:GATE:END:DEL")});
    EXPECT_EQ(saidInACycle(), joined({toPulse, gateAsItIs, measurement, gate}));
    configuration_setPulseMode(false);
    const Messages toCw =
        GetParam().hasPulseFeatures
            ? joined({changed("SENS:PER:AUTO", "0"), changed("SENS:SWE:TIME:AUTO", "0"),
                      same("SENS:PER"), same("SENS:SWE:TIME")})
            : Messages();
    EXPECT_EQ(saidInACycle(), joined({toCw, measurement, gate}));
}

INSTANTIATE_TEST_SUITE_P(Models, UsbConversation, testing::ValuesIn(models),
                         [](const testing::TestParamInfo<Model>& chosen) {
                             return chosen.param.name;
                         });
