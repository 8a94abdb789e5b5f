#include "UsbSensorConfig.h"

#include "SensorPortSignals.h"
#include "Threads.h"
#include "UsbDevice.h"
#include "World.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

using Messages = std::vector<std::string>;

/// A handler of USB2 whose sensor the test plays; its functions are run by the test.
class UsbSensorConfig : public testing::Test {
protected:
    UsbSensorConfig() {
        handler.usbPort.fd = UsbTmcPort_Open(0, usbPort1Name);
        UsbTmcPort_forgetUnplugged();
        EXPECT_TRUE(World_waitUntil([this] { return device.connectionCount() == 1; }, 5000));
        usbSensorConfig_setServing(&handler, true);
        handler.sensorConfigs = {};
        setCapabilities(true);
        World_clearSyslog();
    }
    ~UsbSensorConfig() override {
        World_setSpeed(1);
        usbSensorConfig_setServing(&handler, false);
        UsbTmcPort_Close(handler.usbPort.fd);
        handler.usbPort.fd = -1;
        handler.usbPort.portState = sensorPortDisconnected;
    }
    void setCapabilities(bool supported) {
        handler.sensorConfigs.bSupportsAutoPeriod = supported;
        handler.sensorConfigs.bSupportsAutoTiggerLevel = supported;
        handler.sensorConfigs.bSupportsTriggeredGates = supported;
    }
    /// Settings that went out, in their order.
    Messages sent() const {
        Messages result;
        for (const std::string& message : device.conversation()) {
            if (message.find('?') == std::string::npos && message != "<C>") {
                result.push_back(message);
            }
        }
        return result;
    }
    Messages send() {
        device.clearMessages();
        handler.newConfig = true;
        EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
        EXPECT_FALSE(handler.newConfig);
        return sent();
    }

    UsbDevice device{0};
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[1];
};

SENSOR_CONFIGS manual() {
    SENSOR_CONFIGS configs{};
    configs.freqVal = 2000000.0F;
    configs.prdVal = 0.5F;
    configs.trigLevelVal = 12.5F;
    configs.trigSlope = 1;
    configs.trigDelayVal = -0.25F;
    configs.pulseStates[0] = {true, 0.1F, 0.2F};
    configs.pulseStates[1] = {false, 7.0F, 8.0F};
    configs.pulseStates[2] = {true, 0.3F, 0.4F};
    configs.gateBegin = 0.0001F;
    configs.gateEnd = -0.0002F;
    return configs;
}

TEST_F(UsbSensorConfig, NothingIsSentWhenNoConfigurationWaits) {
    handler.newConfig = false;
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    EXPECT_TRUE(device.messages().empty());
}

TEST_F(UsbSensorConfig, ManualSettingsGoOutInTheirOrder) {
    handler.sensorConfigs = manual();
    setCapabilities(true);
    device.setReply("SENS:FREQ:AUTO?", "1");
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:SWE:TIME:AUTO?", "1");
    EXPECT_EQ(send(), (Messages{"SENS:FREQ:AUTO 0", "SENS:FREQ 2.000000", "SENS:REFL:ENAB 1",
                                "SENS:PER:AUTO 0", "SENS:SWE:TIME:AUTO 0", "SENS:PER 0.500000",
                                "SENS:SWE:TIME 0.500000", "TRIG:SOUR INT", "TRIG:LEV 12.500000",
                                "TRIG:SLOP POS", "TRIG:DEL -0.250000", "CALC:GATE:BEG:DEL 0.000100",
                                "CALC:GATE:END:DEL -0.000200"}));
}

TEST_F(UsbSensorConfig, AutomaticSettingsLeaveTheirValuesOut) {
    handler.sensorConfigs.bAutoFrequency = true;
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    handler.sensorConfigs.gateEnd = -0.0001F;
    EXPECT_EQ(send(), (Messages{"SENS:FREQ:AUTO 1", "SENS:REFL:ENAB 1", "SENS:PER:AUTO 1",
                                "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR INT", "TRIG:SLOP NEG",
                                "CALC:GATE:END:DEL -0.000100"}));
}

TEST_F(UsbSensorConfig, EverySettingIsReadBackBeforeItIsSent) {
    handler.sensorConfigs.bAutoFrequency = true;
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    send();
    EXPECT_EQ(device.conversation(),
              (Messages{"SENS:FREQ:AUTO?", "SENS:FREQ:AUTO 1", "SENS:REFL:ENAB?",
                        "SENS:REFL:ENAB 1", "SENS:PER:AUTO?", "SENS:PER:AUTO 1",
                        "SENS:SWE:TIME:AUTO?", "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR?",
                        "TRIG:SOUR INT", "TRIG:LEV:AUTO?", "TRIG:SLOP?", "TRIG:SLOP NEG",
                        "TRIG:DEL?", "CALC:GATE:BEG:DEL?", "CALC:GATE:END:DEL?"}));
}

TEST_F(UsbSensorConfig, ASettingThatTheSensorHasIsNotSentAgain) {
    handler.sensorConfigs = manual();
    setCapabilities(true);
    send();
    // Text settings are: their read-back carries its line end.
    EXPECT_EQ(send(), (Messages{"TRIG:SOUR INT", "TRIG:SLOP POS"}));
}

TEST_F(UsbSensorConfig, TriggeredStatesGoOutInsteadOfTheGate) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.bModelIsTriggeredGates = true;
    setCapabilities(true);
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    device.setReply("CALC:STAT2:ENAB?", "1");
    EXPECT_EQ(send(), (Messages{"SENS:FREQ 2.000000", "SENS:REFL:ENAB 1", "SENS:PER:AUTO 1",
                                "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR INT", "TRIG:SLOP POS",
                                "TRIG:DEL -0.250000", "CALC:STAT1:BEG:DEL 0.100000",
                                "CALC:STAT1:END:DEL 0.200000", "CALC:STAT1:ENAB 1",
                                "CALC:STAT2:ENAB 0", "CALC:STAT3:BEG:DEL 0.300000",
                                "CALC:STAT3:END:DEL 0.400000", "CALC:STAT3:ENAB 1"}));
}

TEST_F(UsbSensorConfig, ASimpleModelGetsFrequencyAndGateOnly) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.bModelIsTriggeredGates = true;
    setCapabilities(false);
    send();
    EXPECT_EQ(device.conversation(),
              (Messages{"SENS:FREQ:AUTO?", "SENS:FREQ?", "SENS:FREQ 2.000000", "SENS:REFL:ENAB?",
                        "SENS:REFL:ENAB 1", "CALC:GATE:BEG:DEL?", "CALC:GATE:BEG:DEL 0.000100",
                        "CALC:GATE:END:DEL?", "CALC:GATE:END:DEL -0.000200"}));
}

/// What is said of a setting that fails.
struct SettingCase {
    std::string command;
    std::string words;
    std::string error;
    bool isOfState; ///< sent in triggered-states mode only
};

std::vector<SettingCase> settingCases() {
    std::vector<SettingCase> cases = {
        {"SENS:FREQ:AUTO", "frequency auto command", "Freq Auto is not valid", false},
        {"SENS:FREQ", "frequency command", "Freq is not valid", false},
        {"SENS:REFL:ENAB", "reflected enable command", "Refl Enable is not valid", false},
        {"SENS:PER:AUTO", "period auto command", "Period Auto is not valid", false},
        {"SENS:SWE:TIME:AUTO", "sweep time auto command", "Sweep Time Auto is not valid", false},
        {"SENS:PER", "period command", "Period is not valid", false},
        {"SENS:SWE:TIME", "sweep time command", "Sweep Time is not valid", false},
        {"TRIG:SOUR", "trigger source command", "Trigger Source is not valid", false},
        {"TRIG:LEV:AUTO", "trigger level auto command", "Trigger Level Auto is not valid", false},
        {"TRIG:LEV", "trigger level command", "Trigger Level is not valid", false},
        {"TRIG:SLOP", "trigger slope command", "Trigger Slope is not valid", false},
        {"TRIG:DEL", "trigger delay command", "Trigger Delay is not valid", false},
        {"CALC:GATE:BEG:DEL", "gate begin delay command", "Gate Begin is not valid", false},
        {"CALC:GATE:END:DEL", "gate end delay command", "Gate End is not valid", false},
    };
    for (const std::string number : {"1", "2", "3", "4"}) {
        const std::string header = "CALC:STAT" + number;
        const std::string words = "state " + number;
        const std::string error = "State " + number;
        cases.push_back(
            {header + ":BEG:DEL", words + " begin command", error + " Begin is not valid", true});
        cases.push_back(
            {header + ":END:DEL", words + " end command", error + " End is not valid", true});
        cases.push_back(
            {header + ":ENAB", words + " enable command", "State Enable is not valid", true});
    }
    return cases;
}

/// A configuration in which every setting of the case's mode is sent.
SENSOR_CONFIGS configsFor(const SettingCase& setting) {
    SENSOR_CONFIGS configs = manual();
    configs.bModelIsTriggeredGates = setting.isOfState;
    for (PULSE_STATE_INTVL& state : configs.pulseStates) {
        state = {true, 0.1F, 0.2F};
    }
    return configs;
}

TEST_F(UsbSensorConfig, ARefusedSettingIsLoggedAndCollectedAndTheRestGoesOut) {
    for (const SettingCase& one : settingCases()) {
        // The automatic trigger level is never sent: its error comes with its question.
        const bool isAsked = one.command == "TRIG:LEV:AUTO";
        device.setReply(one.command + "?", "77");
        handler.sensorConfigs = configsFor(one);
        setCapabilities(true);
        World_clearSyslog();
        device.refuse(one.command, -222);
        device.setListener([&](const std::string& message) {
            if (isAsked && message == "TRIG:LEV:AUTO?") {
                device.queueError(-222);
            }
        });
        send();
        ASSERT_EQ(handler.usbtmc_Errors.count, 1) << one.command;
        EXPECT_EQ(handler.usbtmc_Errors.errors[0], one.error);
        EXPECT_TRUE(World_syslogContains("USER_WARNING:  USB sensor 3 " + one.words +
                                         " failed with error 2."))
            << one.command;
        device.setListener(nullptr);
        device.accept(one.command);
        send();
        EXPECT_EQ(handler.usbtmc_Errors.count, 0);
    }
}

TEST_F(UsbSensorConfig, EverySettingThatIsNotAnsweredStopsTheSendingWithItsOwnMessage) {
    World_setSpeed(50);
    for (const SettingCase& one : settingCases()) {
        handler.sensorConfigs = configsFor(one);
        setCapabilities(true);
        handler.newConfig = true;
        World_clearSyslog();
        device.setReply(one.command + "?", "");
        EXPECT_FALSE(sensorPortHandler_sendConfigToSensor(&handler)) << one.command;
        EXPECT_TRUE(handler.newConfig) << one.command;
        EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 " + one.words +
                                         " failed with a transport error 1."))
            << one.command;
        device.setReply(one.command + "?", "0");
    }
}

TEST_F(UsbSensorConfig, ASixthErrorIsLoggedButNotCollected) {
    handler.sensorConfigs = manual();
    setCapabilities(true);
    for (const char* command :
         {"SENS:FREQ", "SENS:REFL:ENAB", "SENS:PER", "SENS:SWE:TIME", "TRIG:LEV", "TRIG:DEL"}) {
        device.refuse(command, -113);
    }
    send();
    EXPECT_EQ(handler.usbtmc_Errors.count, 5);
    EXPECT_STREQ(handler.usbtmc_Errors.errors[4], "Trigger Level is not valid");
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  USB sensor 3 trigger delay command failed "
                                     "with error 3."));
    usbSensorConfig_logErrors(&handler);
    EXPECT_TRUE(
        World_syslogContains("USER_ERROR: SCPIErrors: channel 3, error[0] = Freq is not valid."));
    EXPECT_TRUE(World_syslogContains(
        "USER_ERROR: SCPIErrors: channel 3, error[4] = Trigger Level is not valid."));
}

TEST_F(UsbSensorConfig, ATransportErrorStopsTheSendingAndTheConfigurationWaitsOn) {
    World_setSpeed(50);
    handler.sensorConfigs = manual();
    handler.newConfig = true;
    device.setReply("SENS:REFL:ENAB?", "");
    EXPECT_FALSE(sensorPortHandler_sendConfigToSensor(&handler));
    EXPECT_TRUE(handler.newConfig);
    EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 reflected enable command failed "
                                     "with a transport error 1."));
    EXPECT_EQ(sent(), (Messages{"SENS:FREQ 2.000000"}));
}

TEST_F(UsbSensorConfig, CwModeSendsTenMillisecondsToSensorsThatHaveAPeriod) {
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:SWE:TIME:AUTO?", "1");
    EXPECT_TRUE(usbSensorConfig_sendCw(&handler));
    EXPECT_EQ(sent(), (Messages{"SENS:PER:AUTO 0", "SENS:SWE:TIME:AUTO 0", "SENS:PER 0.010000",
                                "SENS:SWE:TIME 0.010000"}));
    device.clearMessages();
    setCapabilities(false);
    EXPECT_TRUE(usbSensorConfig_sendCw(&handler));
    EXPECT_TRUE(device.messages().empty());
}

TEST_F(UsbSensorConfig, CwModeCollectsItsOwnLabels) {
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:SWE:TIME:AUTO?", "1");
    for (const char* command :
         {"SENS:PER:AUTO", "SENS:SWE:TIME:AUTO", "SENS:PER", "SENS:SWE:TIME"}) {
        device.refuse(command, -222);
    }
    EXPECT_TRUE(usbSensorConfig_sendCw(&handler));
    ASSERT_EQ(handler.usbtmc_Errors.count, 4);
    EXPECT_STREQ(handler.usbtmc_Errors.errors[0], "Freq Auto is not valid");
    EXPECT_STREQ(handler.usbtmc_Errors.errors[1], "Sweep Time Auto is not valid");
    EXPECT_STREQ(handler.usbtmc_Errors.errors[2], "Freq Auto is not valid");
    EXPECT_STREQ(handler.usbtmc_Errors.errors[3], "Sweep Time is not valid");
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  USB sensor 3 period command failed with "
                                     "error 2."));
}

TEST_F(UsbSensorConfig, CwModeStopsAtATransportError) {
    const struct {
        const char* question;
        const char* words;
        const char* next; ///< what is not asked any more
    } cases[] = {
        {"SENS:PER:AUTO?", "period auto", "SENS:SWE:TIME:AUTO?"},
        {"SENS:SWE:TIME:AUTO?", "sweep time auto", "SENS:PER?"},
        {"SENS:PER?", "period", "SENS:SWE:TIME?"},
        {"SENS:SWE:TIME?", "sweep time", "INIT"},
    };
    World_setSpeed(50);
    for (const auto& one : cases) {
        World_clearSyslog();
        device.clearMessages();
        device.setReply(one.question, "");
        EXPECT_FALSE(usbSensorConfig_sendCw(&handler)) << one.question;
        EXPECT_TRUE(World_syslogContains(std::string("USER_ERROR: USB sensor 3 ") + one.words +
                                         " command failed with a transport error 1."))
            << one.question;
        EXPECT_FALSE(device.hasReceived(one.next)) << one.question;
        device.setReply(one.question, "0");
    }
}

TEST_F(UsbSensorConfig, TheSensorsOwnConfigurationIsReadWhole) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.numStates = 3;
    setCapabilities(true);
    handler.newConfig = true;
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:PER?", "0.125");
    device.setReply("SENS:FREQ:AUTO?", "1");
    device.setReply("SENS:FREQ?", "13.56");
    device.setReply("TRIG:LEV:AUTO?", "1");
    device.setReply("TRIG:LEV?", "2.5");
    device.setReply("TRIG:DEL?", "-0.5");
    device.setReply("CALC:STAT4:ENAB?", "1");
    device.setReply("CALC:STAT4:BEG:DEL?", "0.25");
    device.setReply("CALC:STAT4:END:DEL?", "0.75");
    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler));
    const SENSOR_CONFIGS& configs = handler.sensorConfigs;
    EXPECT_FALSE(handler.newConfig);
    EXPECT_TRUE(configs.bSupportsAutoPeriod && configs.bSupportsAutoTiggerLevel &&
                configs.bSupportsTriggeredGates);
    EXPECT_TRUE(configs.bAutoPeriod);
    EXPECT_EQ(configs.prdVal, 0.125F);
    EXPECT_TRUE(configs.bAutoFrequency);
    EXPECT_EQ(configs.freqVal, 13560000.0F);
    EXPECT_TRUE(configs.bAutoTriggerLevel);
    EXPECT_EQ(configs.trigLevelVal, 2.5F);
    EXPECT_EQ(configs.trigDelayVal, -0.5F);
    EXPECT_FALSE(configs.pulseStates[0].bEnabled);
    EXPECT_TRUE(configs.pulseStates[3].bEnabled);
    EXPECT_EQ(configs.pulseStates[3].begin, 0.25F);
    EXPECT_EQ(configs.pulseStates[3].end, 0.75F);
    EXPECT_EQ(configs.trigSlope, 0);
    EXPECT_FALSE(configs.bModelIsTriggeredGates);
    EXPECT_EQ(configs.numStates, 0);
    EXPECT_EQ(configs.gateBegin, 0.0F);
    Messages expected = {"SENS:PER:AUTO?", "SENS:PER?", "SENS:FREQ:AUTO?", "SENS:FREQ?",
                         "TRIG:LEV:AUTO?", "TRIG:LEV?", "TRIG:DEL?"};
    for (const char* state : {"1", "2", "3", "4"}) {
        for (const char* what : {":ENAB?", ":BEG:DEL?", ":END:DEL?"}) {
            expected.push_back(std::string("CALC:STAT") + state + what);
        }
    }
    EXPECT_EQ(device.conversation(), expected);
}

TEST_F(UsbSensorConfig, ASimpleModelIsAskedForItsFrequencyOnly) {
    setCapabilities(false);
    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler));
    EXPECT_EQ(device.messages(), (Messages{"SENS:FREQ:AUTO?", "SENS:FREQ?"}));
}

struct QueryFailure {
    std::string query;
    std::string words;
};

std::vector<QueryFailure> queryFailures() {
    std::vector<QueryFailure> cases = {
        {"SENS:PER:AUTO?", "period auto"}, {"SENS:FREQ:AUTO?", "frequency auto"},
        {"SENS:FREQ?", "frequency"},       {"TRIG:LEV:AUTO?", "trigger level auto"},
        {"TRIG:LEV?", "trigger level"},    {"TRIG:DEL?", "trigger delay"},
    };
    for (int state = 0; state < 4; ++state) {
        const std::string header = "CALC:STAT" + std::to_string(state + 1);
        const std::string words = "state " + std::to_string(state); // counted from 0
        cases.push_back({header + ":ENAB?", words + " enable"});
        cases.push_back({header + ":BEG:DEL?", words + " begin"});
        cases.push_back({header + ":END:DEL?", words + " end"});
    }
    return cases;
}

TEST_F(UsbSensorConfig, AOneByteReplyFailsTheReadingAndStoresNothing) {
    for (const QueryFailure& one : queryFailures()) {
        handler.sensorConfigs.freqVal = 42.0F;
        World_clearSyslog();
        device.setRawReply(one.query, "1");
        EXPECT_FALSE(sensorPortHandler_readSensorConfig(&handler)) << one.query;
        EXPECT_EQ(handler.sensorConfigs.freqVal, 42.0F);
        EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 " + one.words + " query failed"))
            << one.query;
        device.setReply(one.query, "0");
    }
}

TEST_F(UsbSensorConfig, TheReadingFailsWhenThePeriodIsNotAnswered) {
    World_setSpeed(50);
    device.setReply("SENS:PER?", "");
    EXPECT_FALSE(sensorPortHandler_readSensorConfig(&handler));
    EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 period query failed"));
}

/// A caller that hands over a configuration and waits.
class Caller {
public:
    explicit Caller(const SENSOR_CONFIGS& configs, uint32_t channel = sensorPort_USB2) {
        thread = std::thread([this, configs, channel] {
            errors = sensorPortHandler_setSensorConfigs(configs, channel, &wait);
            isDone = true;
        });
    }
    ~Caller() {
        if (thread.joinable()) {
            thread.join();
        }
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;
    const USBTMC_PARAM_ERRORS& result() {
        thread.join();
        return errors;
    }
    std::atomic<bool> isDone{false};
    SensorConfigsWait wait;

private:
    USBTMC_PARAM_ERRORS errors{};
    std::thread thread;
};

class UsbConfigRequest : public UsbSensorConfig {
protected:
    bool isRequested(uint32_t number) const {
        return World_waitUntil(
            [this, number] {
                const ScopedLock lock(sensorPortConfigMutex[sensorPort_USB2]);
                return handler.requestNumber == number;
            },
            5000);
    }
    uint32_t nextNumber() const {
        return handler.requestNumber + 1;
    }
};

TEST_F(UsbConfigRequest, ACallerGetsTheErrorsOfItsOwnSending) {
    device.refuse("SENS:FREQ", -222);
    const uint32_t number = nextNumber();
    Caller caller(manual());
    ASSERT_TRUE(isRequested(number));
    usbSensorConfig_complete(&handler); // of a pass that took nothing
    EXPECT_FALSE(caller.isDone);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    usbSensorConfig_complete(&handler);
    const USBTMC_PARAM_ERRORS& errors = caller.result();
    ASSERT_EQ(errors.count, 1);
    EXPECT_STREQ(errors.errors[0], "Freq is not valid");
    EXPECT_FALSE(errors.sensorHasGone);
    EXPECT_EQ(handler.sensorConfigs.freqVal, 2000000.0F);
}

TEST_F(UsbConfigRequest, CapabilitiesStayThoseOfTheSensor) {
    setCapabilities(false);
    SENSOR_CONFIGS configs = manual();
    configs.bSupportsAutoPeriod = true;
    const uint32_t number = nextNumber();
    Caller caller(configs);
    ASSERT_TRUE(isRequested(number));
    EXPECT_FALSE(handler.sensorConfigs.bSupportsAutoPeriod);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    usbSensorConfig_complete(&handler);
    EXPECT_FALSE(device.hasReceived("SENS:PER?"));
}

TEST_F(UsbConfigRequest, AConfigurationChangedDuringItsOwnSendingArrives) {
    const uint32_t number = nextNumber();
    Caller first(manual());
    ASSERT_TRUE(isRequested(number));
    std::unique_ptr<Caller> second;
    device.setListener([&](const std::string& message) {
        if (message == "CALC:GATE:END:DEL?" && second == nullptr) {
            SENSOR_CONFIGS later = manual();
            later.freqVal = 3000000.0F;
            second = std::make_unique<Caller>(later);
            EXPECT_TRUE(isRequested(number + 1));
        }
    });
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    usbSensorConfig_complete(&handler);
    EXPECT_FALSE(first.result().sensorHasGone);
    EXPECT_FALSE(second->isDone);
    EXPECT_TRUE(handler.newConfig);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    usbSensorConfig_complete(&handler);
    EXPECT_FALSE(second->result().sensorHasGone);
    EXPECT_TRUE(device.hasReceived("SENS:FREQ 3.000000"));
}

TEST_F(UsbConfigRequest, AWaitingConfigurationIsNotReplacedByTheSensorsOwn) {
    const uint32_t number = nextNumber();
    Caller caller(manual());
    ASSERT_TRUE(isRequested(number));
    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler));
    EXPECT_EQ(handler.sensorConfigs.freqVal, 2000000.0F);
    EXPECT_TRUE(handler.newConfig);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    usbSensorConfig_complete(&handler);
    EXPECT_FALSE(caller.result().sensorHasGone);
    EXPECT_TRUE(device.hasReceived("SENS:FREQ 2.000000"));
}

TEST_F(UsbConfigRequest, APulledSensorEndsTheWait) {
    const uint32_t number = nextNumber();
    Caller caller(manual());
    ASSERT_TRUE(isRequested(number));
    usbSensorConfig_setServing(&handler, false);
    EXPECT_TRUE(caller.result().sensorHasGone);
    EXPECT_TRUE(sensorPortHandler_setSensorConfigs(manual(), sensorPort_USB2).sensorHasGone);
}

TEST_F(UsbConfigRequest, ACallerCanGiveUpItsWaitAndTheOthersWaitOn) {
    const uint32_t number = nextNumber();
    Caller first(manual());
    ASSERT_TRUE(isRequested(number));
    Caller second(manual());
    ASSERT_TRUE(isRequested(number + 1));
    sensorPortHandler_cancelSensorConfigs(sensorPort_USB2, &first.wait);
    EXPECT_TRUE(first.result().sensorHasGone);
    EXPECT_FALSE(second.isDone);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    usbSensorConfig_complete(&handler);
    EXPECT_FALSE(second.result().sensorHasGone);
}

TEST_F(UsbConfigRequest, AWaitThatIsGivenUpBeforeItBeginsHandsNothingOver) {
    SensorConfigsWait wait;
    sensorPortHandler_cancelSensorConfigs(sensorPort_USB2, &wait);
    handler.newConfig = false;
    EXPECT_TRUE(sensorPortHandler_setSensorConfigs(manual(), sensorPort_USB2, &wait).sensorHasGone);
    EXPECT_FALSE(handler.newConfig);
    EXPECT_EQ(handler.sensorConfigs.freqVal, 0.0F);
    SensorConfigsWait other;
    sensorPortHandler_cancelSensorConfigs(sensorPort_Serial1, &other);
    EXPECT_FALSE(other.isCancelled) << "nobody waits for a serial port";
}

TEST_F(UsbConfigRequest, AnotherPortReturnsAnEmptyListAtOnce) {
    for (const uint32_t port : {0U, 1U, 4U, 255U}) {
        const USBTMC_PARAM_ERRORS errors = sensorPortHandler_setSensorConfigs(manual(), port);
        EXPECT_EQ(errors.count, 0);
        EXPECT_FALSE(errors.sensorHasGone);
        sensorPortHandler_resendSensorConfig(port);
    }
}

TEST_F(UsbConfigRequest, OnlyAConnectedPortSendsAgain) {
    handler.newConfig = false;
    handler.usbPort.portState = sensorPortDisconnected;
    sensorPortHandler_resendSensorConfig(sensorPort_USB2);
    EXPECT_FALSE(handler.newConfig);
    handler.usbPort.portState = sensorPortConnected;
    sensorPortHandler_resendSensorConfig(sensorPort_USB2);
    EXPECT_TRUE(handler.newConfig);
}

TEST(UsbParamErrors, HoldFiveTextsOf31Characters) {
    USBTMC_PARAM_ERRORS errors{};
    for (int count = 0; count < 7; ++count) {
        usbtmcAddError(&errors, std::string(40, static_cast<char>('a' + count)).c_str());
    }
    EXPECT_EQ(errors.count, 5);
    EXPECT_EQ(errors.errors[0], std::string(31, 'a'));
    EXPECT_EQ(errors.errors[4], std::string(31, 'e'));
    usbtmcClearErrors(&errors);
    EXPECT_EQ(errors.count, 0);
    EXPECT_STREQ(errors.errors[0], "");
}

} // namespace
