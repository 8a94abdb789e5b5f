#ifndef TESTS_UNIT_BENCH_SENSOR_TEST_H
#define TESTS_UNIT_BENCH_SENSOR_TEST_H

#include "Sensor316x.h"
#include "Sensor513x.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>

/// What the tests of both sensor families do alike.

inline bool setKey(Sensor513x& sensor, const char* key, const char* value, std::string& error) {
    return Sensor513x_set(sensor, key, value, 0, error);
}

inline bool setKey(Sensor316x& sensor, const char* key, const char* value, std::string& error) {
    return Sensor316x_set(sensor, key, value, 0, error);
}

/// Sets a key; a refusal comes with a reason, a success without.
template <typename Sensor> bool set(Sensor& sensor, const char* key, const char* value) {
    std::string error;
    const bool isSet = setKey(sensor, key, value, error);
    EXPECT_EQ(isSet, error.empty()) << error;
    return isSet;
}

/// A sensor of a model that exists.
template <typename Sensor> Sensor existing(std::optional<Sensor> sensor) {
    EXPECT_TRUE(sensor);
    return sensor.value_or(Sensor{});
}

struct RefusalCase {
    const char* key;
    const char* value;
    const char* says;
};

/// Each is refused and says why, and the sensor stays as it was.
template <typename Sensor>
void expectRefusals(Sensor sensor, std::string (*describe)(Sensor&, int64_t),
                    std::initializer_list<RefusalCase> cases) {
    const std::string before = describe(sensor, 0);
    for (const RefusalCase& c : cases) {
        std::string error;
        EXPECT_FALSE(setKey(sensor, c.key, c.value, error)) << c.key;
        EXPECT_THAT(error, testing::HasSubstr(c.says)) << c.key;
        EXPECT_EQ(describe(sensor, 0), before) << c.key;
    }
}

#endif
