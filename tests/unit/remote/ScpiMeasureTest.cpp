#include "CommandForms.h"
#include "Configuration.h"
#include "RemoteInstrument.h"
#include "ScpiTriggeredGate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <string_view>
#include <vector>

// clang-format off
const std::vector<std::string> measurePatterns = {
    "MEASure[:SCALar]:TEMPerature?",
    "MEASure[:SCALar][:POWer]:FREQuency?",
    "MEASure[:SCALar][:POWer]:DCYCle?",
    "MEASure[:SCALar][:POWer]:PERiod?",
    "MEASure[:SCALar][:POWer]:PRF?",
    "MEASure[:SCALar][:POWer]:WIDTh?",
    "MEASure[:SCALar][:POWer][:FORWard]:AVERage?",
    "MEASure[:SCALar][:POWer]:REFLected:AVERage?",
    "MEASure[:SCALar][:POWer]:GATE:MAXimum?",
    "MEASure[:SCALar][:POWer]:GATE[:MEAN]?",
    "MEASure[:SCALar][:POWer]:GATE:MINimum?",
    "MEASure[:SCALar][:POWer]:STATe1[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STATe2[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STATe3[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STATe4[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STAT1[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STAT2[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STAT3[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STAT4[:MEAN]?",
    "MEASure[:SCALar][:POWer]:STATe1:MAXimum?",
    "MEASure[:SCALar][:POWer]:STATe2:MAXimum?",
    "MEASure[:SCALar][:POWer]:STATe3:MAXimum?",
    "MEASure[:SCALar][:POWer]:STATe4:MAXimum?",
    "MEASure[:SCALar][:POWer]:STAT1:MAXimum?",
    "MEASure[:SCALar][:POWer]:STAT2:MAXimum?",
    "MEASure[:SCALar][:POWer]:STAT3:MAXimum?",
    "MEASure[:SCALar][:POWer]:STAT4:MAXimum?",
    "MEASure[:SCALar][:POWer]:STATe1:MINimum?",
    "MEASure[:SCALar][:POWer]:STATe2:MINimum?",
    "MEASure[:SCALar][:POWer]:STATe3:MINimum?",
    "MEASure[:SCALar][:POWer]:STATe4:MINimum?",
    "MEASure[:SCALar][:POWer]:STAT1:MINimum?",
    "MEASure[:SCALar][:POWer]:STAT2:MINimum?",
    "MEASure[:SCALar][:POWer]:STAT3:MINimum?",
    "MEASure[:SCALar][:POWer]:STAT4:MINimum?",
};
// clang-format on

namespace {

constexpr const char* badChannel = "-220,\"Parameter error;The channel number is not valid\"";
constexpr const char* noSensor = "-220,\"Parameter error;No sensor connected on the channel\"";

SENSOR_MEASUREMENTS reading() {
    SENSOR_MEASUREMENTS measured{};
    measured.fwdPwrVal = 12.5F;
    measured.rflPwrVal = 0.1F;
    measured.freqVal = 100e6F;
    measured.temperatureVal = 36.75F;
    measured.prdVal = 0.001F;
    measured.prfVal = 1000;
    measured.widthVal = 0.00025F;
    measured.dutyCycleVal = 25;
    for (size_t state = 0; state < 4; ++state) {
        const auto base = static_cast<float>(10 * (state + 1));
        measured.pulseStates[state] = {base + 1, base + 2, base + 3};
    }
    measured.gateMean = 51;
    measured.gateMax = 52;
    measured.gateMin = 53;
    return measured;
}

SENSOR_CONFIGS config3164(bool triggered) {
    SENSOR_CONFIGS config{};
    config.bSupportsTriggeredGates = true;
    config.bModelIsTriggeredGates = triggered;
    return config;
}

/// A pulse sensor on USB1 as channel 1, in pulse mode.
struct PulseMeter : RemoteInstrument {
    explicit PulseMeter(bool triggered) {
        configuration_setPulseMode(true);
        setSensorConfig(sensorPort_USB1, config3164(triggered));
        plug(sensorPort_USB1, 0);
        scpiUpdateMeasurement(sensorPort_USB1, reading());
    }
};

void expectExchanges(RemoteInstrument& instrument, std::initializer_list<Exchange> exchanges) {
    for (const Exchange& exchange : exchanges) {
        expectExchange(instrument, exchange);
    }
}

TEST(ScpiMeasure, AnswersTheMirrorOfItsChannel) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    RemoteInstrument::plug(sensorPort_Serial2, 1);
    SENSOR_MEASUREMENTS second = reading();
    second.fwdPwrVal = 3;
    scpiUpdateMeasurement(sensorPort_Serial1, reading());
    scpiUpdateMeasurement(sensorPort_Serial2, second);
    expectExchanges(instrument, {
                                    {"MEAS:AVER?", "12.5\r\n", ""},
                                    {"MEAS:POW:FORW:AVER? 1", "12.5\r\n", ""},
                                    {"MEAS:AVER? 2", "3\r\n", ""},
                                    {"MEAS:SCAL:POW:REFL:AVER?", "0.100000001490116\r\n", ""},
                                    {"MEAS:FREQ?", "100\r\n", ""},
                                    {"MEAS:TEMP?", "36.75\r\n", ""},
                                    {"MEAS:AVER?;AVER? 2;:MEAS:TEMP?", "12.5;3;36.75\r\n", ""},
                                });
}

TEST(ScpiMeasure, ReadsTheChannelWithOneErrorAtMost) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    scpiUpdateMeasurement(sensorPort_Serial1, reading());
    expectExchanges(instrument,
                    {
                        {"MEAS:AVER? 1.4", "12.5\r\n", ""},
                        {"MEAS:AVER? 0.5", "12.5\r\n", ""},
                        {"MEAS:AVER? #H1", "12.5\r\n", ""},
                        {"MEAS:AVER? 2", "", noSensor},
                        {"MEAS:AVER? 1.6", "", noSensor},
                        {"MEAS:AVER? 3", "", badChannel},
                        {"MEAS:AVER? 0", "", badChannel},
                        {"MEAS:AVER? -1", "", badChannel},
                        {"MEAS:AVER? 1E30", "", badChannel},
                        {"MEAS:AVER? MIN", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? ABC", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? NAN", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? INF", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? 1E999", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? 1 V", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? '1'", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? (1)", "", "-220,\"Parameter error\""},
                        {"MEAS:AVER? 1,2", "12.5\r\n", "-108,\"Parameter not allowed\""},
                    });
}

TEST(ScpiMeasure, AnswersPulseReadings) {
    PulseMeter instrument(false);
    expectExchanges(instrument, {
                                    {"MEAS:DCYC?", "25\r\n", ""},
                                    {"MEAS:PER?", "1000.00012207031\r\n", ""},
                                    {"MEAS:PRF?", "1000\r\n", ""},
                                    {"MEAS:WIDT?", "250.000030517578\r\n", ""},
                                    {"MEAS:POW:DCYC? 3", "", badChannel},
                                    {"MEAS:POW:DCYC? 2", "", noSensor},
                                    {"MEAS:GATE?", "51\r\n", ""},
                                    {"MEAS:GATE:MEAN?", "51\r\n", ""},
                                    {"MEAS:GATE:MAX?", "52\r\n", ""},
                                    {"MEAS:GATE:MIN?", "53\r\n", ""},
                                });
}

TEST(ScpiMeasure, TakesTheFirstKeywordOfTheWholeLine) {
    PulseMeter instrument(false);
    expectExchanges(instrument,
                    {
                        {"MEAS:PER?;MEAS:DCYC?", "25;25\r\n", ""},
                        {"MEAS:PER?;DCYC?", "25;25\r\n", ""},
                        {"MEAS:PER?;PRF?", "1000.00012207031;1000.00012207031\r\n", ""},
                        {"MEAS:PRF?;WIDT?", "1000;1000\r\n", ""},
                        {"MEAS:WIDT?;:MEAS:PER?", "1000.00012207031;1000.00012207031\r\n", ""},
                        {"MEAS:TEMPERATURE?;:MEAS:WIDT?", "36.75;1000.00012207031\r\n", ""},
                        {"MEAS:TEMP?;:MEAS:WIDT?", "36.75;250.000030517578\r\n", ""},
                        {"MEAS:GATE:MIN?;MAX?", "52;52\r\n", ""},
                        {"MEAS:AVER?;REFL:AVER?", "0.100000001490116;0.100000001490116\r\n", ""},
                    });
}

TEST(ScpiMeasure, ForgetsKeywordsOfTheLineBefore) {
    PulseMeter instrument(false);
    EXPECT_EQ(instrument.sendBytes("MEAS:DCYC?\nMEAS:WIDT?\nMEAS:PER?\n"),
              "25\r\n250.000030517578\r\n1000.00012207031\r\n");
}

TEST(ScpiMeasure, AnswersTheTriggeredStates) {
    PulseMeter instrument(true);
    for (int state = 1; state <= 4; ++state) {
        for (const std::string node : {"STAT", "STATE"}) {
            const std::string header = "MEAS:" + node + std::to_string(state);
            const std::string base = std::to_string(state);
            EXPECT_EQ(instrument.send(header + "?"), base + "3\r\n") << header;
            EXPECT_EQ(instrument.send(header + ":MEAN?"), base + "3\r\n");
            EXPECT_EQ(instrument.send(header + ":MAX?"), base + "2\r\n");
            EXPECT_EQ(instrument.send(header + ":MIN?"), base + "1\r\n");
        }
    }
    EXPECT_EQ(instrument.send("MEAS:STAT?"), "13\r\n");
    EXPECT_EQ(instrument.send("MEAS:STAT2?;STAT3?"), "23;23\r\n");
    EXPECT_EQ(instrument.errors(), "");
}

struct LineState {
    std::string_view line;
    size_t index;
};

TEST(ScpiMeasure, TakesTheStateFromTheFirstPieceThatNamesOne) {
    const LineState lines[] = {
        {"MEAS:STAT3?", 2},
        {"MEAS:STATE4:MAX?", 3},
        {"MEAS:STAT?", 0},
        {"", 0},
        {"*IDN?", 0},
        {"MEAS:STAT?;STAT2?", 1},
        {"CALC:STAT2:ENAB 1", 1},
        {"CALC:STAT 21", 0},
        {"CALC:STAT 42", 1},
        {"MEAS:STAT3:MAX?;STAT1?", 2},
        {"STAT5:STAT4", 3},
        {std::string_view("MEAS:STAT\0:MAX?", 15), 0},
    };
    for (const LineState& line : lines) {
        EXPECT_EQ(ScpiTriggeredGate_indexOf(line.line), line.index) << line.line;
    }
    RemoteInstrument instrument;
    instrument.send("MEAS:STAT3?");
    EXPECT_EQ(getTiggeredGateIndex(&instrument.context), 2U);
    instrument.send("meas:stat4?");
    EXPECT_EQ(getTiggeredGateIndex(&instrument.context), 3U);
}

TEST(ScpiMeasure, ChecksItsConditionsInTheirOrder) {
    constexpr const char* cwSensor =
        "-100,\"Command error;The command is not supported for 513x CW sensors.\"";
    constexpr const char* cwMode = "-100,\"Command error;The command is not valid in CW mode.\"";
    constexpr const char* not3163 =
        "-100,\"Command error;The command is not supported in 3163 family sensors.\"";
    constexpr const char* pulseGate = "-100,\"Command error;The command is not supported when "
                                      "using the Pulse Gate model.\"";
    constexpr const char* triggered = "-100,\"Command error;The command is not supported when "
                                      "using the Triggered Gate model.\"";
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    expectExchanges(instrument, {{"MEAS:DCYC?", "", cwSensor}, {"MEAS:STAT1?", "", cwSensor}});
    RemoteInstrument::unplug(sensorPort_Serial1);

    // A sensor on the second serial port passes: only the first port's number is looked at.
    RemoteInstrument::plug(sensorPort_Serial2, 0);
    expectExchanges(instrument, {{"MEAS:DCYC?", "", cwMode}});
    configuration_setPulseMode(true);
    expectExchanges(instrument, {{"MEAS:DCYC?", "0\r\n", ""}, {"MEAS:STAT1?", "", not3163}});

    // The channel's number is the USB slot, though the sensor sits elsewhere.
    RemoteInstrument::setSensorConfig(sensorPort_USB1, config3164(true));
    expectExchanges(instrument, {{"MEAS:STAT1?", "", pulseGate}});
    RemoteInstrument::unplug(sensorPort_Serial2);

    RemoteInstrument::plug(sensorPort_USB1, 1);
    expectExchanges(instrument, {{"MEAS:STAT1? 2", "", not3163}, {"MEAS:GATE? 2", "", triggered}});
    RemoteInstrument::setSensorConfig(sensorPort_USB2, config3164(false));
    expectExchanges(instrument, {{"MEAS:STAT1? 2", "0\r\n", ""}});
}

TEST(ScpiMeasure, AnswersNothingButNanForAReadingThatIsMissing) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    EXPECT_EQ(instrument.send("MEAS:AVER?;:MEAS:TEMP?"), "nan;nan\r\n");
    EXPECT_EQ(instrument.send("MEAS:FREQ?"), "nan\r\n");
}

TEST(ScpiMeasure, EmptiesTheMirrorForAnotherSensor) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    scpiUpdateMeasurement(sensorPort_Serial1, reading());
    EXPECT_EQ(instrument.send("MEAS:AVER?"), "12.5\r\n");
    RemoteInstrument::unplug(sensorPort_Serial1);
    EXPECT_EQ(instrument.send("MEAS:AVER?"), "");
    EXPECT_EQ(instrument.errors(), noSensor);
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    EXPECT_EQ(instrument.send("MEAS:AVER?"), "nan\r\n");
}

TEST(ScpiMeasure, EmptiesTheMirrorWhenAnotherSensorCameBetweenTwoLooks) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    scpiUpdateMeasurement(sensorPort_Serial1, reading());
    RemoteInstrument::unplug(sensorPort_Serial1);
    RemoteInstrument::plug(sensorPort_Serial1, 0);
    EXPECT_EQ(instrument.send("MEAS:AVER?"), "nan\r\n");
}

TEST(ScpiMeasure, TellsWhatTheSensorIs) {
    RemoteInstrument instrument;
    RemoteInstrument::plug(sensorPort_USB1, 0);
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[0];
    snprintf(handler.sensorIdentity.sensorModel, sizeof handler.sensorIdentity.sensorModel, "3164");
    snprintf(handler.sensorIdentity.sensorFirmwareRevision,
             sizeof handler.sensorIdentity.sensorFirmwareRevision, "1.02");
    snprintf(handler.serialNumber, sizeof handler.serialNumber, "77012");
    expectExchanges(instrument, {
                                    {"SYST:IDEN:SENS?", "3164\r\n", ""},
                                    {"SYST:IDEN:SENS:MOD? 1", "3164\r\n", ""},
                                    {"SYST:IDEN:SENS:SN?", "77012\r\n", ""},
                                    {"SYST:IDEN:SENS:FWR?", "1.02\r\n", ""},
                                    {"SYST:IDEN:SENS? 2", "", noSensor},
                                });
}

TEST(ScpiRecord, GivesNothingBeforeThereIsARecord) {
    EXPECT_EQ(scpi.load(), nullptr);
    EXPECT_FALSE(scpiGetSensor());
    scpiUpdateMeasurement(0, reading());
    EXPECT_EQ(ScpiRecord_sensorPort(0), sensorPort_None);
    EXPECT_TRUE(std::isnan(ScpiRecord_measurements(0).fwdPwrVal));
    EXPECT_EQ(ScpiRecord_workingCopy(0).state, NotInitialized);
    ScpiRecord_forgetCopy(0);
    ScpiRecord_synchronizeCopy(0, 0, {});
    destroyScpiParser();
}

TEST(ScpiRecord, FindsTheSensorOfEachChannel) {
    RemoteInstrument instrument;
    EXPECT_FALSE(scpiGetSensor());
    RemoteInstrument::plug(sensorPort_USB2, 1);
    EXPECT_TRUE(scpiGetSensor());
    const SCPI_S* record = scpi;
    EXPECT_FALSE(record->chanValid[0]);
    EXPECT_EQ(record->sensor[0], nullptr);
    EXPECT_TRUE(record->chanValid[1]);
    ASSERT_NE(record->sensor[1], nullptr);
    EXPECT_EQ(record->sensor[1]->index, static_cast<uint32_t>(sensorPort_USB2));
    SensorInstance_SetLogicalChannel(sensorPort_USB2, sensorLogicalNoChannel);
    EXPECT_TRUE(scpiGetSensor()) << "a sensor without a channel is there all the same";
    EXPECT_FALSE(record->chanValid[1]);
}

TEST(ScpiRecord, RefusesChannelsThatAreNone) {
    RemoteInstrument instrument;
    EXPECT_EQ(ScpiRecord_sensorPort(2), sensorPort_None);
    EXPECT_TRUE(std::isnan(ScpiRecord_measurements(2).fwdPwrVal));
    EXPECT_EQ(ScpiRecord_workingCopy(2).state, NotInitialized);
    ScpiRecord_forgetCopy(2);
    ScpiRecord_synchronizeCopy(2, 0, {});
}

} // namespace
