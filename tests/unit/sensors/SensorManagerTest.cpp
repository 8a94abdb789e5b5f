#include "SensorManager.h"

#include "SensorPortHandler.h"
#include "World.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr uint32_t s1 = sensorPortBit_Serial1;
constexpr uint32_t s2 = sensorPortBit_Serial2;
constexpr uint32_t u1 = sensorPortBit_USB1;
constexpr uint32_t u2 = sensorPortBit_USB2;

std::vector<uint32_t> asked;
std::vector<uint32_t> answers; ///< channel that the user gives to each question; 255 pulls the plug
void (*whileAsked)();

/// Plays the user: gives the next answer to the sensor that is asked for.
void answerNext(const SensorAdmission& sensor) {
    const uint32_t port = sensor.port;
    asked.push_back(port);
    if (whileAsked != nullptr) {
        whileAsked();
    }
    if (asked.size() <= answers.size()) {
        SensorInstance_SetLogicalChannel(port, answers[asked.size() - 1]);
    }
}

class SensorManagerTest : public testing::Test {
protected:
    SensorManagerTest() {
        SensorManager_Create();
        SensorManager_registerChannelPrompt(answerNext);
        asked.clear();
        answers.clear();
        whileAsked = nullptr;
        previous = {};
    }
    ~SensorManagerTest() override {
        for (uint32_t port = 0; port < sensorPortCount; ++port) {
            sensorPortHandler_setIsConnected(port, false);
        }
        SensorManager_Destroy();
    }
    /// One detection cycle with these ports occupied.
    static CONNECTED_SENSORS detect(uint32_t bits) {
        CONNECTED_SENSORS record{};
        record.detectedSensors = bits;
        record.detectedSensorsChanged = previous.detectedSensors ^ bits;
        hasChanged = SensorManager_UpdatePhysicalSensors(&record);
        previous = record;
        return record;
    }
    static uint32_t slot(size_t index) {
        const auto sensor = SensorManager_copyActiveSensors()[index];
        return sensor.has_value() ? sensor->index : sensorPort_None;
    }
    static uint32_t channel(uint32_t port) {
        return SensorInstance_GetLogicalChannel(port);
    }

    static CONNECTED_SENSORS previous;
    static bool hasChanged;
};

CONNECTED_SENSORS SensorManagerTest::previous;
bool SensorManagerTest::hasChanged;

TEST_F(SensorManagerTest, StartsWithIdleInstancesAndFreeSlots) {
    for (uint32_t port = 0; port < sensorPortCount; ++port) {
        const SensorInstance* instance = SensorManager_GetSensorInstance(port);
        ASSERT_NE(instance, nullptr);
        EXPECT_FALSE(instance->isPulseSensor);
        EXPECT_EQ(instance->state, sensorIdle);
        EXPECT_EQ(instance->index, 255U);
        EXPECT_EQ(instance->logicalChannel, 255U);
        EXPECT_EQ(instance->physicalChannel, 0U);
        EXPECT_FALSE(SensorManager_IsSensorActive(port));
    }
    EXPECT_EQ(SensorInstance_GetActiveCount(), 0U);
    EXPECT_TRUE(SensorManager_AssignLogicalChannels());
    EXPECT_FALSE(SensorManager_isChannelMissing());
}

struct AdmissionCase {
    uint32_t port;
    bool isPulseSensor;
    uint32_t bit;
};

TEST_F(SensorManagerTest, ANewSensorIsAdmittedToTheFirstSlotWithoutAChannel) {
    const AdmissionCase cases[] = {{sensorPort_Serial1, false, s1},
                                   {sensorPort_Serial2, false, s2},
                                   {sensorPort_USB1, true, u1},
                                   {sensorPort_USB2, true, u2}};
    for (const AdmissionCase& one : cases) {
        const CONNECTED_SENSORS record = detect(one.bit);
        EXPECT_TRUE(hasChanged);
        EXPECT_TRUE(record.promptForlogicalChannel);
        EXPECT_EQ(record.detectedSensors, one.bit);
        EXPECT_EQ(slot(0), one.port);
        EXPECT_EQ(slot(1), sensorPort_None);
        EXPECT_EQ(SensorManager_GetSensorInstance(one.port)->isPulseSensor, one.isPulseSensor);
        EXPECT_EQ(SensorInstance_GetState(one.port), sensorActive);
        EXPECT_EQ(SensorInstance_GetPhysicalChannel(one.port), one.bit);
        EXPECT_EQ(channel(one.port), sensorLogicalNoChannel);
        EXPECT_TRUE(sensorPortHandler_getIsConnected(one.port));
        detect(0);
        EXPECT_TRUE(hasChanged);
        EXPECT_FALSE(sensorPortHandler_getIsConnected(one.port));
        EXPECT_EQ(SensorInstance_GetState(one.port), sensorIdle);
        EXPECT_EQ(SensorInstance_GetPhysicalChannel(one.port), 0U);
    }
}

TEST_F(SensorManagerTest, ARecordWithoutAChangeIsOnlyRemembered) {
    detect(s1);
    detect(s1);
    EXPECT_FALSE(hasChanged);
    EXPECT_EQ(gSensors->connectedSensors.detectedSensors, s1);
    EXPECT_EQ(SensorInstance_GetActiveCount(), 1U);
}

TEST_F(SensorManagerTest, ASensorPulledRightAfterAResetIsStillRemoved) {
    detect(s1);
    previous = {0, s1, false}; // all sensors reported as removed
    detect(0);
    EXPECT_EQ(SensorInstance_GetActiveCount(), 0U);
    EXPECT_FALSE(sensorPortHandler_getIsConnected(sensorPort_Serial1));
}

TEST_F(SensorManagerTest, ALoneSensorIsAskedForAndTheSecondTakesTheOtherChannel) {
    detect(u1);
    answers = {sensorLogicalChannel2};
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked, std::vector<uint32_t>{sensorPort_USB1});
    EXPECT_EQ(channel(sensorPort_USB1), sensorLogicalChannel2);
    EXPECT_FALSE(SensorInstance_IsLogicalChannelAssigned(sensorLogicalChannel1));
    EXPECT_TRUE(SensorInstance_IsLogicalChannelAssigned(sensorLogicalChannel2));

    const CONNECTED_SENSORS record = detect(u1 | s1);
    EXPECT_FALSE(record.promptForlogicalChannel);
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked.size(), 1U);
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel1);
}

TEST_F(SensorManagerTest, OfTwoNewSensorsTheUsbOneIsAskedForAndTheOtherFollows) {
    const CONNECTED_SENSORS record = detect(u1 | s1);
    EXPECT_TRUE(record.promptForlogicalChannel);
    EXPECT_EQ(slot(0), sensorPort_USB1);
    EXPECT_EQ(slot(1), sensorPort_Serial1);
    answers = {sensorLogicalChannel1};
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked, std::vector<uint32_t>{sensorPort_USB1});
    EXPECT_EQ(channel(sensorPort_USB1), sensorLogicalChannel1);
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel2);
}

TEST_F(SensorManagerTest, AThirdSensorIsAdmittedWhenOneOfTwoLeaves) {
    detect(u1 | s1);
    answers = {sensorLogicalChannel1};
    SensorManager_UpdateLogicalChannel();
    CONNECTED_SENSORS record = detect(u1 | s1 | s2);
    EXPECT_EQ(record.detectedSensors, u1 | s1);
    EXPECT_EQ(record.detectedSensorsChanged, 0U);
    EXPECT_FALSE(hasChanged);
    EXPECT_FALSE(sensorPortHandler_getIsConnected(sensorPort_Serial2));

    record = detect(s1 | s2);
    EXPECT_EQ(record.detectedSensors, s1 | s2);
    EXPECT_FALSE(record.promptForlogicalChannel);
    EXPECT_EQ(slot(0), sensorPort_Serial2);
    EXPECT_EQ(slot(1), sensorPort_Serial1);
    EXPECT_EQ(channel(sensorPort_Serial2), sensorLogicalChannel1);
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked.size(), 1U);
}

TEST_F(SensorManagerTest, OfFourNewSensorsTheTwoUsbOnesAreAdmitted) {
    const CONNECTED_SENSORS record = detect(u1 | u2 | s1 | s2);
    EXPECT_EQ(record.detectedSensors, u1 | u2);
    EXPECT_EQ(record.detectedSensorsChanged, u1 | u2);
    EXPECT_EQ(slot(0), sensorPort_USB1);
    EXPECT_EQ(slot(1), sensorPort_USB2);
}

TEST_F(SensorManagerTest, TheSecondSensorStaysInItsSlotWhenTheFirstLeaves) {
    detect(u1 | s1);
    answers = {sensorLogicalChannel1};
    SensorManager_UpdateLogicalChannel();
    detect(s1);
    EXPECT_EQ(slot(0), sensorPort_None);
    EXPECT_EQ(slot(1), sensorPort_Serial1);
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel2);
}

TEST_F(SensorManagerTest, AReinsertedSensorHasLostItsChannel) {
    detect(s1);
    answers = {sensorLogicalChannel2};
    SensorManager_UpdateLogicalChannel();
    detect(0);
    detect(s1);
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalNoChannel);
    EXPECT_TRUE(SensorManager_isChannelMissing());
    answers = {sensorLogicalChannel2, sensorLogicalChannel1};
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel1);
    EXPECT_FALSE(SensorManager_isChannelMissing());
}

struct PairCase {
    uint32_t first;
    uint32_t second;
    bool isSettled;
    uint32_t firstAfter;
    uint32_t secondAfter;
};

TEST_F(SensorManagerTest, APairTakesOppositeChannels) {
    const PairCase cases[] = {
        {0, 255, true, 0, 1},        {1, 255, true, 1, 0}, {255, 0, true, 1, 0},
        {255, 1, true, 0, 1},        {0, 1, true, 0, 1},   {1, 0, true, 1, 0},
        {255, 255, false, 255, 255},
    };
    detect(s1 | s2);
    for (const PairCase& one : cases) {
        SensorInstance_SetLogicalChannel(sensorPort_Serial1, one.first);
        SensorInstance_SetLogicalChannel(sensorPort_Serial2, one.second);
        EXPECT_EQ(SensorManager_AssignLogicalChannels(), one.isSettled);
        EXPECT_EQ(channel(sensorPort_Serial1), one.firstAfter) << one.first << ' ' << one.second;
        EXPECT_EQ(channel(sensorPort_Serial2), one.secondAfter) << one.first << ' ' << one.second;
    }
}

TEST_F(SensorManagerTest, ALoneSensorNeverGetsAChannelByItself) {
    detect(s1 | s2);
    answers = {sensorLogicalChannel1};
    SensorManager_UpdateLogicalChannel();
    detect(s2);
    detect(0);
    detect(s2);
    EXPECT_FALSE(SensorManager_AssignLogicalChannels());
    EXPECT_EQ(channel(sensorPort_Serial2), sensorLogicalNoChannel);
}

TEST_F(SensorManagerTest, TheOtherSensorIsAskedForWhenTheFirstIsPulledWhileItIsAsked) {
    detect(u1 | s1);
    whileAsked = [] {
        whileAsked = nullptr;
        CONNECTED_SENSORS record{s1, u1, false};
        SensorManager_UpdatePhysicalSensors(&record);
        answers = {sensorLogicalNoChannel, sensorLogicalChannel2};
    };
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked, (std::vector<uint32_t>{sensorPort_USB1, sensorPort_Serial1}));
    EXPECT_EQ(channel(sensorPort_USB1), sensorLogicalNoChannel);
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel2);
}

TEST_F(SensorManagerTest, ASensorThatReplacedTheAskedOneIsAskedForAgain) {
    detect(s1);
    whileAsked = [] {
        whileAsked = nullptr;
        CONNECTED_SENSORS pulled{0, s1, false};
        SensorManager_UpdatePhysicalSensors(&pulled);
        CONNECTED_SENSORS plugged{s1, s1, true};
        SensorManager_UpdatePhysicalSensors(&plugged);
        answers = {sensorLogicalNoChannel, sensorLogicalChannel1};
    };
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked, (std::vector<uint32_t>{sensorPort_Serial1, sensorPort_Serial1}));
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel1);
}

TEST_F(SensorManagerTest, AQuestionThatCouldNotBeAskedIsLeftForALaterPass) {
    detect(s1);
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(asked.size(), 1U);
    EXPECT_TRUE(SensorManager_isChannelMissing());
    answers = {sensorLogicalNoChannel, sensorLogicalChannel1};
    SensorManager_UpdateLogicalChannel();
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel1);
}

TEST_F(SensorManagerTest, AnAnswerForASensorThatHasGoneChangesNothing) {
    detect(s1);
    const uint32_t admission = SensorManager_getAdmissionNumber(sensorPort_Serial1);
    detect(0);
    EXPECT_FALSE(SensorManager_setChannelOfAdmission(sensorPort_Serial1, admission, 0));
    detect(s1);
    EXPECT_FALSE(SensorManager_setChannelOfAdmission(sensorPort_Serial1, admission, 0));
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalNoChannel);
    const uint32_t now = SensorManager_getAdmissionNumber(sensorPort_Serial1);
    EXPECT_TRUE(SensorManager_setChannelOfAdmission(sensorPort_Serial1, now, 1));
    EXPECT_EQ(channel(sensorPort_Serial1), sensorLogicalChannel2);
}

TEST_F(SensorManagerTest, AdmissionsAreThoseOfTheActiveSensors) {
    EXPECT_FALSE(SensorManager_copyAdmissions()[0].has_value());
    detect(s1);
    SensorInstance_SetLogicalChannel(sensorPort_Serial1, sensorLogicalChannel2);
    const auto first = SensorManager_copyAdmissions()[0];
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->instance, SensorManager_GetSensorInstance(sensorPort_Serial1));
    EXPECT_EQ(first->port, sensorPort_Serial1);
    EXPECT_EQ(first->logicalChannel, sensorLogicalChannel2);
    EXPECT_EQ(first->admission, SensorManager_getAdmissionNumber(sensorPort_Serial1));
    EXPECT_FALSE(SensorManager_copyAdmissions()[1].has_value());
    detect(0);
    detect(s1);
    EXPECT_NE(SensorManager_copyAdmissions()[0]->admission, first->admission);
}

TEST_F(SensorManagerTest, PortsBeyondTheFourReadAsAbsent) {
    for (const uint32_t port : {4U, 255U, 0xFFFFFFFFU}) {
        EXPECT_EQ(SensorManager_GetSensorInstance(port), nullptr);
        EXPECT_FALSE(SensorManager_IsSensorActive(port));
        SensorInstance_SetLogicalChannel(port, 0);
        SensorInstance_SetPhysicalChannel(port, 1);
        SensorInstance_SetState(port, sensorActive);
        EXPECT_EQ(SensorInstance_GetLogicalChannel(port), 255U);
        EXPECT_EQ(SensorInstance_GetPhysicalChannel(port), 0U);
        EXPECT_EQ(SensorInstance_GetState(port), sensorIdle);
        EXPECT_EQ(SensorManager_getAdmissionNumber(port), 0U);
    }
    EXPECT_TRUE(World_syslogContains("Invalid sensor index (4)."));
}

TEST_F(SensorManagerTest, AccessorsSetWhatTheyGet) {
    SensorInstance_SetState(3, sensorError);
    SensorInstance_SetPhysicalChannel(3, 0x20);
    SensorInstance_SetLogicalChannel(3, 1);
    EXPECT_EQ(SensorInstance_GetState(3), sensorError);
    EXPECT_EQ(SensorInstance_GetPhysicalChannel(3), 0x20U);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(3), 1U);
    EXPECT_FALSE(SensorManager_IsSensorActive(3));
}

TEST(SensorManagerBeforeCreation, HasNoSensors) {
    World_clearSyslog();
    EXPECT_EQ(SensorManager_GetActiveSensors(), nullptr);
    EXPECT_TRUE(World_syslogContains("Unexpected error: SensorManager instance is NULL."));
    EXPECT_EQ(SensorInstance_GetActiveCount(), 0U);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(0), 255U);
    CONNECTED_SENSORS record{s1, s1, false};
    EXPECT_FALSE(SensorManager_UpdatePhysicalSensors(&record));
    SensorManager_UpdateLogicalChannel();
    SensorManager_Destroy();
}

} // namespace
