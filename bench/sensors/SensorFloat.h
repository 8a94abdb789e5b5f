#ifndef BENCH_SENSORS_SENSOR_FLOAT_H
#define BENCH_SENSORS_SENSOR_FLOAT_H

#include <cstdint>
#include <string>

/// A number as a serial sensor sends it: exponent and 24-bit two's complement fraction in one word.
/// Rounded to the nearest; 0 for what is too small, the largest code for what is too large.
uint32_t SensorFloat_encode(double value);

/// The word's four bytes, most significant first.
std::string SensorFloat_bytes(double value);

#endif
