#include "CommandForms.h"
#include "Configuration.h"
#include "PulseMeter.h"
#include "ScpiReaders.h"
#include "ScpiWorkingCopy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// clang-format off
const std::vector<std::string> pulsePatterns = {
    "CALCulate:PULSe[:MODel]",
    "CALCulate:PULSe[:MODel]?",
    "CALCulate:STATe1:ENABle?",
    "CALCulate:STATe1:ENABle",
    "CALCulate:STAT1:ENABle?",
    "CALCulate:STAT1:ENABle",
    "CALCulate:STATe2:ENABle?",
    "CALCulate:STATe2:ENABle",
    "CALCulate:STAT2:ENABle?",
    "CALCulate:STAT2:ENABle",
    "CALCulate:STATe3:ENABle?",
    "CALCulate:STATe3:ENABle",
    "CALCulate:STAT3:ENABle?",
    "CALCulate:STAT3:ENABle",
    "CALCulate:STATe4:ENABle?",
    "CALCulate:STATe4:ENABle",
    "CALCulate:STAT4:ENABle?",
    "CALCulate:STAT4:ENABle",
    "CALCulate:STATe1:BEGin[:Delay]?",
    "CALCulate:STATe1:BEGin[:Delay]",
    "CALCulate:STAT1:BEGin[:Delay]?",
    "CALCulate:STAT1:BEGin[:Delay]",
    "CALCulate:STATe2:BEGin[:Delay]?",
    "CALCulate:STATe2:BEGin[:Delay]",
    "CALCulate:STAT2:BEGin[:Delay]?",
    "CALCulate:STAT2:BEGin[:Delay]",
    "CALCulate:STATe3:BEGin[:Delay]?",
    "CALCulate:STATe3:BEGin[:Delay]",
    "CALCulate:STAT3:BEGin[:Delay]?",
    "CALCulate:STAT3:BEGin[:Delay]",
    "CALCulate:STATe4:BEGin[:Delay]?",
    "CALCulate:STATe4:BEGin[:Delay]",
    "CALCulate:STAT4:BEGin[:Delay]?",
    "CALCulate:STAT4:BEGin[:Delay]",
    "CALCulate:STATe1:END[:Delay]?",
    "CALCulate:STATe1:END[:Delay]",
    "CALCulate:STAT1:END[:Delay]?",
    "CALCulate:STAT1:END[:Delay]",
    "CALCulate:STATe2:END[:Delay]?",
    "CALCulate:STATe2:END[:Delay]",
    "CALCulate:STAT2:END[:Delay]?",
    "CALCulate:STAT2:END[:Delay]",
    "CALCulate:STATe3:END[:Delay]?",
    "CALCulate:STATe3:END[:Delay]",
    "CALCulate:STAT3:END[:Delay]?",
    "CALCulate:STAT3:END[:Delay]",
    "CALCulate:STATe4:END[:Delay]?",
    "CALCulate:STATe4:END[:Delay]",
    "CALCulate:STAT4:END[:Delay]?",
    "CALCulate:STAT4:END[:Delay]",
    "CALCulate:GATE:BEGin[:DELay]?",
    "CALCulate:GATE:BEGin[:DELay]",
    "CALCulate:GATE:END[:DELay]?",
    "CALCulate:GATE:END[:DELay]",
    "SENSe:FREQuency:AUTO?",
    "SENSe:FREQuency:AUTO",
    "SENSe:FREQuency?",
    "SENSe:FREQuency",
    "SENSe:PERiod:AUTO?",
    "SENSe:PERiod:AUTO",
    "SENSe:PERiod?",
    "SENSe:PERiod",
    "TRIGger:LEVel:AUTO?",
    "TRIGger:LEVel:AUTO",
    "TRIGger:LEVel?",
    "TRIGger:LEVel",
    "TRIGger:SLOPe?",
    "TRIGger:SLOPe",
    "TRIGger:DELay?",
    "TRIGger:DELay",
};

const std::vector<std::string> pulseModePatterns = {
    "SYSTem:PULSe[:ENABle]",
    "SYSTem:PULSe[:ENABle]?",
    "SYSTem:PULSe:CONFig[:SYNCronize]",
    "SYSTem:PULSe:CONFig:COMMit",
};
// clang-format on

namespace {

constexpr const char* parameterError = "-220,\"Parameter error\"";
constexpr const char* missing = "-109,\"Missing parameter\"";
constexpr const char* badState = "-220,\"Parameter error;The state is not valid\"";
constexpr const char* cwMode = "-100,\"Command error;The command is not valid in CW mode.\"";
constexpr const char* cwSensor =
    "-100,\"Command error;The command is not supported for 513x CW sensors.\"";
constexpr const char* not3163 =
    "-100,\"Command error;The command is not supported in 3163 family sensors.\"";
constexpr const char* pulseGateModel =
    "-100,\"Command error;The command is not supported when using the Pulse Gate model.\"";
constexpr const char* triggeredGateModel =
    "-100,\"Command error;The command is not supported when using the Triggered Gate model.\"";

TEST(ScpiPulse, AnswersTheSensorsOwnConfiguration) {
    PulseMeter instrument;
    const Exchange exchanges[] = {
        {"CALC:PULS?", "PULS\r\n", ""},
        {"SENS:FREQ:AUTO?", "1\r\n", ""},
        {"SENS:FREQ?", "250\r\n", ""},
        {"SENS:PER:AUTO?", "0\r\n", ""},
        {"SENS:PER?", "", ""},
        {"TRIG:LEV:AUTO?", "0\r\n", ""},
        {"TRIG:LEV?", "1.5\r\n", ""},
        {"TRIG:DEL?", "0.25\r\n", ""},
        {"TRIG:SLOP?", "POS\r\n", ""},
        {"CALC:GATE:BEG?", "0.125\r\n", ""},
        {"CALC:GATE:END:DEL?", "0.5\r\n", ""},
        {"CALC:STAT1:ENAB?", "0\r\n", ""},
        {"SYST:PULS?", "1\r\n", ""},
    };
    for (const Exchange& exchange : exchanges) {
        if (exchange.sent == "SENS:PER?") {
            EXPECT_EQ(instrument.send(exchange.sent).substr(0, 6), "0.0020");
            continue;
        }
        expectExchange(instrument, exchange);
    }
}

struct Setting {
    std::string command;
    std::string value;
    std::string answered;
    bool inTriggeredModel;
};

TEST(ScpiPulse, SetsEveryValueAndAnswersIt) {
    const Setting settings[] = {
        {"SENS:FREQ", "100", "100", false},          {"SENS:FREQ", "100HZ", "100", false},
        {"SENS:FREQ", "100 KHZ", "100", false},      {"SENS:FREQ", "1e2", "100", false},
        {"SENS:FREQ:AUTO", "OFF", "0", false},       {"SENS:FREQ:AUTO", "0.6", "1", false},
        {"SENS:FREQ:AUTO", "0.4", "0", false},       {"SENS:PER", "0.5", "0.5", false},
        {"SENS:PER", "0.5S", "0.5", false},          {"SENS:PER", "2.5e-1 s", "0.25", false},
        {"SENS:PER:AUTO", "ON", "1", false},         {"TRIG:LEV", "2.5", "2.5", false},
        {"TRIG:LEV", "2.5W", "2.5", false},          {"TRIG:LEV", "500MW", "0.5", false},
        {"TRIG:LEV:AUTO", "1", "1", false},          {"TRIG:DEL", "0.5S", "0.5", false},
        {"TRIG:DEL", "-0.5", "-0.5", false},         {"TRIG:SLOP", "NEG", "NEG", false},
        {"TRIG:SLOP", "positive", "POS", false},     {"TRIG:SLOP", "\"NEGATIVE\"", "NEG", false},
        {"CALC:GATE:BEG", "0.25", "0.25", false},    {"CALC:GATE:END:DEL", "0.75S", "0.75", false},
        {"CALC:PULS", "TRIG", "TRIG", false},        {"CALC:PULS:MOD", "TRIGGERED", "TRIG", false},
        {"CALC:PULS", "pulse", "PULS", false},       {"CALC:STAT1:ENAB", "ON", "1", true},
        {"CALC:STATE4:ENAB", "2", "1", true},        {"CALC:STAT2:BEG", "0.5", "0.5", true},
        {"CALC:STAT3:END:D", "0.25S", "0.25", true}, {"CALC:STATE2:BEG:DELAY", "1", "1", true},
    };
    for (const Setting& setting : settings) {
        SENSOR_CONFIGS config = PulseMeter_config();
        config.bModelIsTriggeredGates = setting.inTriggeredModel;
        PulseMeter instrument(config);
        SCOPED_TRACE(setting.command + " " + setting.value);
        expectExchange(instrument, {setting.command + " " + setting.value, "", ""});
        expectExchange(instrument, {setting.command + "?", setting.answered + "\r\n", ""});
        expectExchange(instrument, {setting.command + "? 1", setting.answered + "\r\n", ""});
    }
}

TEST(ScpiPulse, KeepsTheStatesAndTheirTwoDelaysApart) {
    SENSOR_CONFIGS config = PulseMeter_config();
    config.bModelIsTriggeredGates = true;
    PulseMeter instrument(config);
    for (int state = 1; state <= 4; ++state) {
        const std::string node = "CALC:STAT" + std::to_string(state);
        instrument.send(node + ":BEG " + std::to_string(state));
        instrument.send(node + ":END " + std::to_string(10 * state));
        instrument.send(node + ":ENAB " + (state % 2 == 0 ? "ON" : "OFF"));
    }
    const SENSOR_CONFIGS copy = ScpiRecord_workingCopy(0).config;
    for (size_t state = 0; state < 4; ++state) {
        const auto number = static_cast<float>(state + 1);
        EXPECT_EQ(copy.pulseStates[state].begin, number);
        EXPECT_EQ(copy.pulseStates[state].end, 10 * number);
        EXPECT_EQ(copy.pulseStates[state].bEnabled, state % 2 == 1);
    }
    EXPECT_EQ(instrument.errors(), "");
}

TEST(ScpiPulse, RefusesAParameterWithExactlyOneError) {
    const Exchange exchanges[] = {
        {"TRIG:DEL 10MS", "", parameterError},
        {"TRIG:DEL 10US", "", parameterError},
        {"TRIG:DEL S", "", parameterError},
        {"TRIG:DEL ABC", "", parameterError},
        {"TRIG:DEL", "", missing},
        {"TRIG:DEL NAN", "", parameterError},
        {"TRIG:DEL INF", "", parameterError},
        {"TRIG:DEL 1E999", "", parameterError},
        {"TRIG:DEL 1E39", "", parameterError},
        {"TRIG:DEL 0X1", "", parameterError},
        {"TRIG:DEL #HFF", "", parameterError},
        {"TRIG:DEL #H10", "", parameterError},
        {"SENS:FREQ #H10", "", parameterError},
        {"SENS:FREQ #Q10", "", parameterError},
        {"SENS:FREQ:AUTO #B1", "", parameterError},
        {"TRIG:LEV 5KW", "", parameterError},
        {"TRIG:LEV 5MMW", "", parameterError},
        {"TRIG:LEV 5WMW", "", parameterError},
        {"TRIG:LEV W", "", parameterError},
        {"TRIG:LEV", "", missing},
        {"SENS:FREQ 10MHZ", "", parameterError},
        {"SENS:FREQ 10KHZ", "", parameterError},
        {"SENS:FREQ HZ", "", parameterError},
        {"SENS:FREQ 1E38", "", parameterError},
        {"SENS:FREQ", "", missing},
        {"SENS:FREQ:AUTO", "", missing},
        {"SENS:FREQ:AUTO -1", "", badState},
        {"SENS:FREQ:AUTO YES", "", parameterError},
        {"TRIG:SLOP UP", "", parameterError},
        {"TRIG:SLOP", "", missing},
        {"CALC:PULS CW", "", parameterError},
        {"CALC:PULS", "", missing},
        {"SYST:PULS MAYBE", "", parameterError},
        {"SYST:PULS", "", missing},
        {"SENS:FREQ 1,3", "", "-220,\"Parameter error;The channel number is not valid\""},
        {"SENS:FREQ 1,2", "", "-220,\"Parameter error;No sensor connected on the channel\""},
        {"SENS:FREQ 1,MIN", "", parameterError},
        {"SENS:FREQ X,3", "", parameterError},
        {"SENS:FREQ 1,1,1", "", "-108,\"Parameter not allowed\""},
        {"TRIG:DEL 10.0.0.5", "", parameterError},
    };
    for (const Exchange& exchange : exchanges) {
        PulseMeter instrument;
        expectExchange(instrument, exchange);
    }
}

struct Conditioned {
    const char* command;
    const char* query;
    bool needsPulseMode;
    bool needs3164;
    const char* inTriggeredModel; ///< error there, or null
    const char* inPulseModel;
};

TEST(ScpiPulse, ChecksTheConditionsOfEveryCommand) {
    const Conditioned commands[] = {
        {"CALC:PULS TRIG", "CALC:PULS?", true, true, nullptr, nullptr},
        {"CALC:STAT1:ENAB 1", "CALC:STAT1:ENAB?", true, true, nullptr, pulseGateModel},
        {"CALC:STAT1:BEG 1", "CALC:STAT1:BEG?", true, true, nullptr, pulseGateModel},
        {"CALC:STAT1:END 1", "CALC:STAT1:END?", true, true, nullptr, pulseGateModel},
        {"CALC:GATE:BEG 1", nullptr, true, false, triggeredGateModel, nullptr},
        {"CALC:GATE:END 1", nullptr, true, false, triggeredGateModel, nullptr},
        {"SENS:FREQ:AUTO 1", nullptr, false, false, nullptr, nullptr},
        {"SENS:FREQ 1", nullptr, false, false, nullptr, nullptr},
        {"SENS:PER:AUTO 1", "SENS:PER:AUTO?", true, true, triggeredGateModel, nullptr},
        {"SENS:PER 1", "SENS:PER?", true, true, nullptr, nullptr},
        {"TRIG:LEV:AUTO 1", "TRIG:LEV:AUTO?", true, true, nullptr, nullptr},
        {"TRIG:LEV 1", "TRIG:LEV?", true, true, nullptr, nullptr},
        {"TRIG:DEL 1", "TRIG:DEL?", true, true, nullptr, nullptr},
        {"TRIG:SLOP POS", "TRIG:SLOP?", true, true, nullptr, nullptr},
        {"SYST:PULS:CONF:COMM", nullptr, true, false, nullptr, nullptr},
        {"SYST:PULS:CONF", nullptr, false, false, nullptr, nullptr},
    };
    const auto textOf = [](const char* text) { return std::string(text == nullptr ? "" : text); };
    for (const Conditioned& row : commands) {
        SCOPED_TRACE(row.command);
        for (const bool triggered : {false, true}) {
            SENSOR_CONFIGS config = PulseMeter_config();
            config.bModelIsTriggeredGates = triggered;
            PulseMeter instrument(config);
            instrument.send(row.command);
            EXPECT_EQ(instrument.errors(),
                      textOf(triggered ? row.inTriggeredModel : row.inPulseModel));
            configuration_setPulseMode(false);
            instrument.send("SYST:PULS:CONF");
            instrument.send(row.command);
            EXPECT_EQ(instrument.errors(), row.needsPulseMode ? cwMode : "");
        }
        {
            SENSOR_CONFIGS config = PulseMeter_config();
            config.bSupportsTriggeredGates = false;
            PulseMeter plain(config);
            plain.send(row.command);
            EXPECT_EQ(plain.errors(), row.needs3164 ? not3163 : "");
            if (row.query != nullptr) {
                expectExchange(plain, {row.query, "", not3163});
            }
        }
        RemoteInstrument serial;
        RemoteInstrument::plug(sensorPort_Serial1, 0);
        serial.send(row.command);
        EXPECT_EQ(serial.errors(), cwSensor);
    }
}

TEST(ScpiPulse, MarksTheCopyModifiedOnlyWhenAValueChanges) {
    PulseMeter instrument;
    instrument.send("SENS:FREQ?");
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Syncronized);
    instrument.send("SENS:FREQ 250;FREQ:AUTO ON;:TRIG:SLOP POS");
    EXPECT_EQ(instrument.errors(), "");
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Syncronized);
    instrument.send("SENS:FREQ 251");
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Modified);
    instrument.send("SYST:PULS:CONF:SYNC");
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Syncronized);
    EXPECT_EQ(instrument.send("SENS:FREQ?"), "250\r\n");
}

TEST(ScpiPulse, TakesNoCopyOfASensorThatIsStillStarting) {
    constexpr const char* noSensor = "-220,\"Parameter error;No sensor connected on the channel\"";
    RemoteInstrument instrument;
    configuration_setPulseMode(true);
    SENSOR_CONFIGS unfinished{};
    unfinished.bSupportsTriggeredGates = true;
    RemoteInstrument::setSensorConfig(sensorPort_USB1, unfinished);
    RemoteInstrument::plugStarting(sensorPort_USB1, 0);
    expectExchange(instrument, {"MEAS:AVER?", "nan\r\n", ""});
    for (const char* line :
         {"SENS:FREQ?", "TRIG:LEV?", "TRIG:SLOP?", "SENS:FREQ 100", "SYST:PULS:CONF"}) {
        expectExchange(instrument, {line, "", noSensor});
    }
    expectExchange(instrument, {"SYST:PULS:CONF:COMM", "", ""});
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, NotInitialized);

    RemoteInstrument::setSensorConfig(sensorPort_USB1, PulseMeter_config());
    RemoteInstrument::finishStart(sensorPort_USB1);
    expectExchange(instrument, {"SENS:FREQ?;:TRIG:LEV?;SLOP?", "250;1.5;POS\r\n", ""});
}

TEST(ScpiPulse, FollowsTheScreenWhileNothingIsStaged) {
    PulseMeter instrument;
    EXPECT_EQ(instrument.send("SENS:FREQ?"), "250\r\n");
    SENSOR_CONFIGS applied = PulseMeter_config();
    applied.freqVal = 100e6F;
    applied.trigLevelVal = 2.5F;
    RemoteInstrument::setSensorConfig(sensorPort_USB1, applied);
    expectExchange(instrument, {"SENS:FREQ?;:TRIG:LEV?", "100;2.5\r\n", ""});

    instrument.send("SENS:FREQ 200");
    applied.freqVal = 300e6F;
    RemoteInstrument::setSensorConfig(sensorPort_USB1, applied);
    expectExchange(instrument, {"SENS:FREQ?", "200\r\n", ""});
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, Modified);
    expectExchange(instrument, {"SYST:PULS:CONF;:SENS:FREQ?", "300\r\n", ""});
}

TEST(ScpiPulse, SendsWhatTheScreenHasAppliedWithTheNextCommit) {
    PulseMeter instrument;
    const FakeUsbSensor sensor(sensorPort_USB1);
    EXPECT_EQ(instrument.send("SENS:FREQ?"), "250\r\n");
    SENSOR_CONFIGS applied = PulseMeter_config();
    applied.trigLevelVal = 2.5F;
    RemoteInstrument::setSensorConfig(sensorPort_USB1, applied);
    expectExchange(instrument, {"SENS:FREQ 100;:SYST:PULS:CONF:COMM", "", ""});
    EXPECT_EQ(sensor.lastConfig().freqVal, 100e6F);
    EXPECT_EQ(sensor.lastConfig().trigLevelVal, 2.5F);
}

TEST(ScpiPulse, KeepsWhatTheOtherLinkStagesWhileACopyIsFetched) {
    PulseMeter instrument;
    EXPECT_EQ(instrument.send("SENS:FREQ?"), "250\r\n");
    const auto frequency = [](SENSOR_CONFIGS& config) -> float& { return config.freqVal; };
    EXPECT_TRUE(ScpiWorkingCopy_set(0, frequency, 1e6F));
    ScpiRecord_refreshCopy(0, sensorPort_USB1, PulseMeter_config());
    EXPECT_EQ(ScpiRecord_workingCopy(0).config.freqVal, 1e6F);
    ScpiRecord_synchronizeCopy(0, sensorPort_USB1, PulseMeter_config());
    EXPECT_EQ(ScpiRecord_workingCopy(0).config.freqVal, 250e6F);
}

TEST(ScpiPulse, AnswersEithForASlopeThatIsNeither) {
    SENSOR_CONFIGS config = PulseMeter_config();
    config.trigSlope = 7;
    PulseMeter instrument(config);
    EXPECT_EQ(instrument.send("TRIG:SLOP?"), "EITH\r\n");
}

TEST(ScpiPulse, SwitchesTheInstrumentsPulseMode) {
    RemoteInstrument instrument;
    EXPECT_EQ(instrument.send("SYST:PULS?"), "0\r\n");
    EXPECT_EQ(instrument.send("SYST:PULS ON;PULS?"), "1\r\n");
    EXPECT_TRUE(configuration_getPulseMode());
    EXPECT_EQ(instrument.send("SYST:PULS:ENAB 0;ENAB?"), "0\r\n");
    EXPECT_FALSE(configuration_getPulseMode());
}

TEST(ScpiReaders, KnowWhatIsANumber) {
    double value = 0;
    for (const char* text : {"1", "-1.5", "+.5", "1E3", "1 ", "1\t\r\n", " 1"}) {
        EXPECT_TRUE(stringIsFloat(text, &value)) << text;
    }
    for (const char* text :
         {"", " ", "A", "1A", "1 2", "NAN", "INF", "-INF", "0X10", "1E999", "1,5", "--1", "."}) {
        EXPECT_FALSE(stringIsFloat(text, &value)) << text;
    }
}

} // namespace
