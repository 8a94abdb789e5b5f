// How others hand a configuration over, and what they learn of its sending.
#include "SensorPortSignals.h"
#include "Threads.h"
#include "UsbConfigFixture.h"
#include "UsbSensorConfig.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

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
    UsbSensorConfig_complete(&handler); // of a pass that took nothing
    EXPECT_FALSE(caller.isDone);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    UsbSensorConfig_complete(&handler);
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
    UsbSensorConfig_complete(&handler);
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
    UsbSensorConfig_complete(&handler);
    EXPECT_FALSE(first.result().sensorHasGone);
    EXPECT_FALSE(second->isDone);
    EXPECT_TRUE(handler.newConfig);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    UsbSensorConfig_complete(&handler);
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
    UsbSensorConfig_complete(&handler);
    EXPECT_FALSE(caller.result().sensorHasGone);
    EXPECT_TRUE(device.hasReceived("SENS:FREQ 2.000000"));
}

TEST_F(UsbConfigRequest, AConfigurationThatGotStuckIsNotReplacedByTheSensorsOwn) {
    const uint32_t number = nextNumber();
    Caller caller(manual());
    ASSERT_TRUE(isRequested(number));
    device.loseNextAnswer("SENS:FREQ?");
    EXPECT_FALSE(sensorPortHandler_sendConfigToSensor(&handler));
    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler)); // it has been started again
    EXPECT_EQ(handler.sensorConfigs.freqVal, 2000000.0F);
    EXPECT_TRUE(handler.newConfig);
    EXPECT_FALSE(caller.isDone);
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    UsbSensorConfig_complete(&handler);
    EXPECT_FALSE(caller.result().sensorHasGone);
    EXPECT_TRUE(device.hasReceived("SENS:FREQ 2.000000"));
}

TEST_F(UsbConfigRequest, APulledSensorEndsTheWait) {
    const uint32_t number = nextNumber();
    Caller caller(manual());
    ASSERT_TRUE(isRequested(number));
    UsbSensorConfig_setServing(&handler, false);
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
    UsbSensorConfig_complete(&handler);
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
