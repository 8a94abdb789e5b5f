#ifndef SENSORS_CVRT_FLOAT_H
#define SENSORS_CVRT_FLOAT_H

#include <cstdint>

/// The number format of the serial sensors: bits 31..24 hold a two's complement exponent E, bits
/// 23..0 a two's complement mantissa M; the value is M x 2^(E - 23). Both functions are pure.

/// Decodes a sensor float. Never an infinity or a NaN; magnitudes below the normal range of a
/// 32-bit float become a zero that keeps the sign.
float floatQuorvelToIeee(uint32_t value);

/// Encodes a float; the lowest fraction bit is cut off. An infinity becomes the largest code, a NaN
/// the code that decodes to -1.0.
uint32_t floatIeeeToQuorvel(float value);

#endif
