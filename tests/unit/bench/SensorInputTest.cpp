#include "SensorInput.h"

#include "SensorTest.h"

using testing::HasSubstr;

namespace {

/// The keys that every sensor has, on one of either family.
template <typename Sensor> void expectCommonKeys(Sensor sensor) {
    const struct {
        const char* key;
        const char* value;
        double (*stored)(SensorInput&);
        double expected;
    } cases[] = {
        {"fwd", "1.5kW", [](SensorInput& i) { return Signal_value(i.forward_W, 0); }, 1500},
        {"rfl", "250mW", [](SensorInput& i) { return Signal_value(i.reflected_W, 0); }, 0.25},
        {"freq", "27.12MHz", [](SensorInput& i) { return Signal_value(i.frequency_Hz, 0); },
         27.12e6},
        {"temp", "-12.5", [](SensorInput& i) { return Signal_value(i.temperature_C, 0); }, -12.5},
        {"max", "2kW", [](SensorInput& i) { return i.maxPower_W; }, 2000},
        {"min", "5mW", [](SensorInput& i) { return i.minPower_W; }, 0.005},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(set(sensor, c.key, c.value)) << c.key;
        EXPECT_DOUBLE_EQ(c.stored(sensor.input), c.expected) << c.key;
    }
    EXPECT_TRUE(set(sensor, "fwd", "ramp:0:10:2s"));
    EXPECT_DOUBLE_EQ(Signal_value(sensor.input.forward_W, 1000000000), 5);
}

template <typename Sensor>
void expectCommonRefusals(Sensor sensor, std::string (*describe)(Sensor&, int64_t)) {
    expectRefusals(sensor, describe,
                   {{"colour", "red", "unknown key 'colour'"},
                    {"colour", "red", "fwd, rfl, freq, temp, max and min"},
                    {"fwd", "much", "fwd: 'much' is not a number, ramp:FROM:TO:TIME"},
                    {"temp", "1kW", "temp: '1kW' is not a number"},
                    {"max", "x", "max: 'x' is not a number"},
                    {"min", "-1", "min: '-1' is not a number from 0 on"}});
}

} // namespace

TEST(SensorInput, BothFamiliesHaveItsKeys) {
    expectCommonKeys(existing(Sensor513x_create("5132")));
    expectCommonKeys(existing(Sensor316x_create("3164")));
}

TEST(SensorInput, BothFamiliesRefuseAlike) {
    expectCommonRefusals(existing(Sensor513x_create("5132")), Sensor513x_describe);
    expectCommonRefusals(existing(Sensor316x_create("3164")), Sensor316x_describe);
}

TEST(SensorInput, BothFamiliesDescribeItAlike) {
    Sensor513x serial = existing(Sensor513x_create("5132"));
    Sensor316x usb = existing(Sensor316x_create("3162"));
    EXPECT_THAT(Sensor513x_describe(serial, 0),
                HasSubstr("5132 fwd=0 rfl=0 freq=1.356e+07 temp=31.5 max=1000 min=0.0001 "));
    EXPECT_THAT(Sensor316x_describe(usb, 0),
                HasSubstr("3162 fwd=0 rfl=0 freq=1.356e+07 temp=33 max=1000 min=0.0001 "));
}

TEST(SensorInput, AKeyOfTheOtherFamilyIsUnknown) {
    Sensor513x serial = existing(Sensor513x_create("5132"));
    Sensor316x usb = existing(Sensor316x_create("3162"));
    std::string error;
    EXPECT_FALSE(setKey(serial, "period", "1ms", error));
    EXPECT_THAT(error, HasSubstr("a serial sensor has baud, current, boot"));
    EXPECT_FALSE(setKey(usb, "baud", "9600", error));
    EXPECT_THAT(error, HasSubstr("a USB sensor has period, width"));
}
