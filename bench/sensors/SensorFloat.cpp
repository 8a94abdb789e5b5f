#include "SensorFloat.h"

#include <cmath>

namespace {

constexpr uint32_t mantissaMask = 0xFFFFFF;
constexpr long smallestNormal = 0x400000;
constexpr long justTooLarge = 0x800000;

} // namespace

uint32_t SensorFloat_encode(double value) {
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);
    long mantissa = std::lround(std::ldexp(std::abs(fraction), 23));
    if (mantissa == justTooLarge) {
        mantissa = smallestNormal;
        ++exponent;
    }
    if (mantissa == 0 || exponent < -128) {
        return 0;
    }
    if (exponent > 127) {
        exponent = 127;
        mantissa = justTooLarge - 1;
    }
    const auto signedMantissa = static_cast<uint32_t>(value < 0 ? -mantissa : mantissa);
    return static_cast<uint32_t>(static_cast<uint8_t>(exponent)) << 24U |
           (signedMantissa & mantissaMask);
}

std::string SensorFloat_bytes(double value) {
    const uint32_t word = SensorFloat_encode(value);
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(word >> static_cast<unsigned>(shift) & 0xFFU);
    }
    return bytes;
}
