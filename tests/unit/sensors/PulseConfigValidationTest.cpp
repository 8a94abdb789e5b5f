#include "PulseConfigValidation.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

using Field = PulseConfigField;

SENSOR_IDENTITY limits() {
    SENSOR_IDENTITY identity = {};
    identity.sensorFrequency = {360000.0F, 105000000.0F};
    identity.sensorPulsePeriod = {6e-6F, 1.0F};
    identity.sensorPower = {0.0F, 25000.0F};
    identity.sensorTriggerDelay = {-0.5F, 1.0F};
    return identity;
}

/// Nothing automatic, everything within its limits; two states.
SENSOR_CONFIGS validConfig() {
    SENSOR_CONFIGS config = {};
    config.freqVal = 13560000.0F;
    config.prdVal = 0.01F;
    config.trigLevelVal = 10.0F;
    config.numStates = 2;
    config.pulseStates[0] = {true, 0.0F, 0.002F};
    config.pulseStates[1] = {true, 0.003F, 0.005F};
    return config;
}

/// One change of the valid configuration, and what is said of it ("" = valid).
struct RuleCase {
    void (*change)(SENSOR_CONFIGS& config);
    const char* message;
    Field field;
    uint32_t state;
};

constexpr char frequencyText[] =
    "The frequency value must be between 360000.000000 and 105000000.000000 Hz.";
constexpr char gateBeginText[] =
    "The gate begin delay value must be between 0.000000 and 900.000000 us.";
constexpr char gateEndText[] =
    "The gate end delay value must be between -900.000000 and 0.000000 us.";
constexpr char periodText[] = "The pulse period value must be between 0.000006 and 1.000000 s.";
constexpr char levelText[] = "The trigger level value must be between 0.000000 and 25000.000000 W.";
constexpr char delayText[] = "The trigger delay value must be between -0.500000 and 1.000000 s.";

/// Valid for both forms or for none.
constexpr RuleCase commonCases[] = {
    {[](SENSOR_CONFIGS&) {}, "", Field::frequency, 0},
    {[](SENSOR_CONFIGS& c) { c.freqVal = 105000000.0F; }, "", Field::frequency, 0},
    {[](SENSOR_CONFIGS& c) { c.freqVal = 106050000.0F; }, frequencyText, Field::frequency, 0},
    {[](SENSOR_CONFIGS& c) { c.freqVal = 360000.0F; }, "", Field::frequency, 0},
    {[](SENSOR_CONFIGS& c) { c.freqVal = 359000.0F; }, frequencyText, Field::frequency, 0},
    {[](SENSOR_CONFIGS& c) {
         c.freqVal = 0.0F;
         c.bAutoFrequency = true;
     },
     "", Field::frequency, 0},
    {[](SENSOR_CONFIGS& c) { c.gateBegin = 0.0009F; }, "", Field::gateBegin, 0},
    {[](SENSOR_CONFIGS& c) { c.gateBegin = 0.000901F; }, gateBeginText, Field::gateBegin, 0},
    {[](SENSOR_CONFIGS& c) { c.gateBegin = -0.000001F; }, gateBeginText, Field::gateBegin, 0},
    {[](SENSOR_CONFIGS& c) { c.gateEnd = -0.0009F; }, "", Field::gateEnd, 0},
    {[](SENSOR_CONFIGS& c) { c.gateEnd = -0.000901F; }, gateEndText, Field::gateEnd, 0},
    {[](SENSOR_CONFIGS& c) { c.gateEnd = 0.000001F; }, gateEndText, Field::gateEnd, 0},
    {[](SENSOR_CONFIGS& c) { c.gateBegin = c.gateEnd = 1.0F; }, gateBeginText, Field::gateBegin, 0},
    {[](SENSOR_CONFIGS& c) { c.freqVal = c.gateBegin = 1.0F; }, frequencyText, Field::frequency, 0},
};

/// Of sensors with triggered states, in pulse-gate mode.
constexpr RuleCase triggerCases[] = {
    {[](SENSOR_CONFIGS& c) { c.prdVal = 1.0F; }, "", Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.prdVal = 1.01F; }, periodText, Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.prdVal = 6e-6F; }, "", Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.prdVal = 5e-6F; }, periodText, Field::period, 0},
    {[](SENSOR_CONFIGS& c) {
         c.prdVal = 0.0F;
         c.bAutoPeriod = true;
     },
     "", Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.trigLevelVal = 25000.0F; }, "", Field::level, 0},
    {[](SENSOR_CONFIGS& c) { c.trigLevelVal = 25001.0F; }, levelText, Field::level, 0},
    {[](SENSOR_CONFIGS& c) { c.trigLevelVal = -0.001F; }, levelText, Field::level, 0},
    {[](SENSOR_CONFIGS& c) {
         c.trigLevelVal = -1.0F;
         c.bAutoTriggerLevel = true;
     },
     "", Field::level, 0},
    {[](SENSOR_CONFIGS& c) { c.trigDelayVal = -0.5F; }, "", Field::delay, 0},
    {[](SENSOR_CONFIGS& c) { c.trigDelayVal = -0.51F; }, delayText, Field::delay, 0},
    {[](SENSOR_CONFIGS& c) { c.trigDelayVal = 1.01F; }, delayText, Field::delay, 0},
    {[](SENSOR_CONFIGS& c) { c.prdVal = c.trigLevelVal = -1.0F; }, periodText, Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.trigLevelVal = c.trigDelayVal = -1.0F; }, levelText, Field::level,
     0},
    {[](SENSOR_CONFIGS& c) { c.trigDelayVal = c.gateBegin = -1.0F; }, delayText, Field::delay, 0},
    {[](SENSOR_CONFIGS& c) { c.pulseStates[0].begin = 9.0F; }, "", Field::stateBegin, 0},
};

/// In triggered-states mode; the typed period is 0.01 s, the longest 1 s.
constexpr RuleCase stateCases[] = {
    {[](SENSOR_CONFIGS& c) { c.gateBegin = 1.0F; }, "", Field::gateBegin, 0},
    {[](SENSOR_CONFIGS& c) { c.numStates = 0; }, "", Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.numStates = 255; },
     "The ending value of state 3 must\nbe greater than the beginning value.", Field::stateEnd, 2},
    {[](SENSOR_CONFIGS& c) { c.pulseStates[0].begin = -1.1F; },
     "The begin value of state 1 must\nbe between -1.000000 and 1.000000 s.", Field::stateBegin, 0},
    {[](SENSOR_CONFIGS& c) {
         c.pulseStates[1] = {true, 1.1F, 1.2F};
     },
     "The begin value of state 2 must\nbe between -1.000000 and 1.000000 s.", Field::stateBegin, 1},
    {[](SENSOR_CONFIGS& c) {
         c.pulseStates[1] = {true, 0.2F, 0.1F};
     },
     "The ending value of state 2 must\nbe greater than the beginning value.", Field::stateEnd, 1},
    {[](SENSOR_CONFIGS& c) {
         c.pulseStates[0] = {true, 0.002F, 0.002F};
     },
     "The ending value of state 1 must\nbe greater than the beginning value.", Field::stateEnd, 0},
    {[](SENSOR_CONFIGS& c) {
         c.pulseStates[0] = {true, -0.5F, 0.51F};
     },
     "The state width of state 1 may not\nbe greater than 1.000000 s.", Field::stateEnd, 0},
    {[](SENSOR_CONFIGS& c) { c.pulseStates[1].end = 0.01F; }, "", Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.pulseStates[1].end = 0.0101F; },
     "The aggregate width of all the states must\nbe less than 0.010000 s.", Field::period, 0},
    {[](SENSOR_CONFIGS& c) {
         c.pulseStates[0] = {true, 0.006F, 0.007F};
         c.pulseStates[1] = {true, -0.004F, 0.0F};
     },
     "The aggregate width of all the states must\nbe less than 0.010000 s.", Field::period, 0},
    {[](SENSOR_CONFIGS& c) { c.prdVal = 2.0F; }, periodText, Field::period, 0},
};

void expectResult(const RuleCase& one, bool isValid, const PulseConfigFailure& failure) {
    EXPECT_EQ(isValid, one.message[0] == '\0') << one.message << failure.message;
    if (!isValid) {
        EXPECT_STREQ(failure.message, one.message);
        EXPECT_EQ(failure.field, one.field);
        EXPECT_EQ(failure.state, one.state);
    }
}

TEST(PulseConfigValidation, SensorsWithoutStatesAreHeldToFrequencyAndGate) {
    for (const RuleCase& one : commonCases) {
        SENSOR_CONFIGS config = validConfig();
        one.change(config);
        PulseConfigFailure failure = {};
        const bool isValid = PulseConfigValidation_check3163(config, limits(), &failure);
        expectResult(one, isValid, failure);
    }
}

TEST(PulseConfigValidation, SensorsWithoutStatesKnowNoOtherRule) {
    SENSOR_CONFIGS config = validConfig();
    config.prdVal = config.trigLevelVal = config.trigDelayVal = -100.0F;
    config.pulseStates[0] = {true, 9.0F, -9.0F};
    PulseConfigFailure failure = {};
    EXPECT_TRUE(PulseConfigValidation_check3163(config, limits(), &failure)) << failure.message;
}

TEST(PulseConfigValidation, SensorsWithStatesInPulseGateModeAreHeldToTheGate) {
    for (const auto& cases :
         {std::span<const RuleCase>(commonCases), std::span<const RuleCase>(triggerCases)}) {
        for (const RuleCase& one : cases) {
            SENSOR_CONFIGS config = validConfig();
            one.change(config);
            PulseConfigFailure failure = {};
            const bool isValid = PulseConfigValidation_check3164(&config, limits(), 0.01, &failure);
            expectResult(one, isValid, failure);
        }
    }
}

TEST(PulseConfigValidation, TriggeredStatesAreHeldToTheirRules) {
    for (const RuleCase& one : stateCases) {
        SENSOR_CONFIGS config = validConfig();
        config.bModelIsTriggeredGates = true;
        one.change(config);
        PulseConfigFailure failure = {};
        const bool isValid = PulseConfigValidation_check3164(&config, limits(), 0.01, &failure);
        expectResult(one, isValid, failure);
    }
}

TEST(PulseConfigValidation, TheTypedPeriodCountsEvenWhileThePeriodIsAutomatic) {
    SENSOR_CONFIGS config = validConfig();
    config.bModelIsTriggeredGates = true;
    config.bAutoPeriod = true;
    config.prdVal = 1.0F;
    PulseConfigFailure failure = {};
    EXPECT_TRUE(PulseConfigValidation_check3164(&config, limits(), 0.005, &failure));
    EXPECT_FALSE(PulseConfigValidation_check3164(&config, limits(), 0.004, &failure));
    EXPECT_STREQ(failure.message,
                 "The aggregate width of all the states must\nbe less than 0.004000 s.");
}

TEST(PulseConfigValidation, UnusedStatesAreResetEvenAfterAFailedRule) {
    for (const float firstEnd : {0.002F, -1.0F}) {
        SENSOR_CONFIGS config = validConfig();
        config.bModelIsTriggeredGates = true;
        config.pulseStates[0].end = firstEnd;
        config.pulseStates[2] = config.pulseStates[3] = {true, 5.0F, 6.0F};
        PulseConfigFailure failure = {};
        EXPECT_EQ(PulseConfigValidation_check3164(&config, limits(), 0.01, &failure),
                  firstEnd > 0.0F);
        for (const size_t unused : {2U, 3U}) {
            EXPECT_EQ(config.pulseStates[unused].begin, 0.0F);
            EXPECT_EQ(config.pulseStates[unused].end, 0.001F);
        }
        EXPECT_EQ(config.pulseStates[1].begin, 0.003F);
    }
}

TEST(PulseConfigValidation, PulseGateModeLeavesTheStatesAlone) {
    SENSOR_CONFIGS config = validConfig();
    config.pulseStates[3] = {true, 5.0F, 6.0F};
    PulseConfigFailure failure = {};
    EXPECT_TRUE(PulseConfigValidation_check3164(&config, limits(), 0.01, &failure));
    EXPECT_EQ(config.pulseStates[3].begin, 5.0F);
}

TEST(PulseConfigValidation, MessagesStayWithinTheirBuffer) {
    SENSOR_IDENTITY wide = limits();
    wide.sensorFrequency = {3e38F, 3.1e38F};
    PulseConfigFailure failure = {};
    EXPECT_FALSE(PulseConfigValidation_check3163(validConfig(), wide, &failure));
    EXPECT_LE(strlen(failure.message), 128U);
    EXPECT_EQ(strncmp(failure.message, "The frequency value must be between ", 36), 0);
}

TEST(PulseConfigValidation, OnlySomeFieldsCanBeNegative) {
    struct Row {
        Field field;
        bool inWatts;
        bool indBm;
    };
    constexpr Row rows[] = {{Field::frequency, false, false}, {Field::period, false, false},
                            {Field::level, false, true},      {Field::delay, true, true},
                            {Field::gateBegin, true, true},   {Field::gateEnd, true, true},
                            {Field::stateBegin, true, true},  {Field::stateEnd, true, true}};
    for (const Row& row : rows) {
        EXPECT_EQ(PulseConfigValidation_canBeNegative(row.field, false), row.inWatts);
        EXPECT_EQ(PulseConfigValidation_canBeNegative(row.field, true), row.indBm);
    }
}

constexpr char errorHead[] = "Parameter Errors occured in the sensor.\n\r"
                             "See the manual for valid parmaeter ranges:\n\r";

TEST(PulseConfigValidation, ParameterErrorsAreListed) {
    const char errors[2][32] = {"Freq is not valid", "State 1 Begin is not valid"};
    char text[parameterErrorsTextSize];
    PulseConfigValidation_parameterErrors(errors, text);
    EXPECT_EQ(text, std::string(errorHead) + "  Freq is not valid\n\r" +
                        "  State 1 Begin is not valid\n\r");
    PulseConfigValidation_parameterErrors({}, text);
    EXPECT_STREQ(text, errorHead);
}

TEST(PulseConfigValidation, ParameterErrorsStopAtThreeHundredAndTwentyCharacters) {
    char errors[8][32];
    for (auto& error : errors) {
        snprintf(error, sizeof error, "%s", "0123456789012345678901234567890");
    }
    char text[parameterErrorsTextSize];
    PulseConfigValidation_parameterErrors(errors, text);
    // Each line takes 35 characters, the head 85: six lines fit.
    EXPECT_EQ(strlen(text), strlen(errorHead) + 6 * 35);
    // A text of exactly 320 characters is shown whole.
    errors[6][0] = '\0';
    snprintf(errors[6], sizeof errors[6], "%.*s", static_cast<int>(320 - strlen(text) - 4),
             "012345678901234567890123456789");
    PulseConfigValidation_parameterErrors(std::span<const char[32]>(errors).first(7), text);
    EXPECT_EQ(strlen(text), 320U);
}

} // namespace
