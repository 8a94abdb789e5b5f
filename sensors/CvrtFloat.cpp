#include "CvrtFloat.h"

#include <bit>

namespace {

constexpr uint32_t mantissaMask = 0x00FFFFFF;
constexpr uint32_t mantissaSign = 0x00800000;
constexpr uint32_t fractionMask = 0x007FFFFF;
constexpr uint32_t hiddenBit = 0x00800000;
constexpr uint32_t ieeeSign = 0x80000000;

/// Two's complement of a mantissa, kept in its 24 bits by the caller.
constexpr uint32_t negated(uint32_t mantissa) {
    return ~mantissa + 1;
}

/// Exponent and mantissa put together; an exponent that does not fit wraps in its eight bits.
constexpr uint32_t sensorWord(uint32_t exponent, uint32_t mantissa) {
    return (exponent << 24) + (mantissa & mantissaMask);
}

} // namespace

float floatQuorvelToIeee(uint32_t value) {
    int exponent = std::bit_cast<int8_t>(static_cast<uint8_t>(value >> 24));
    uint32_t mantissa = value & mantissaMask;
    if (mantissa == 0) {
        return 0.0F;
    }
    uint32_t sign = 0;
    if ((mantissa & mantissaSign) != 0) {
        sign = ieeeSign;
        mantissa = negated(mantissa) & mantissaMask;
    }
    while (mantissa < hiddenBit) {
        mantissa <<= 1;
        --exponent;
    }
    // Below the normal range the sensors know no denormals: such a value is a zero that keeps its
    // sign (docs/compatibility.md: float-flush).
    if (exponent < -126) {
        return std::bit_cast<float>(sign);
    }
    const auto field = static_cast<uint32_t>(exponent + 127);
    return std::bit_cast<float>(sign | (field << 23) | (mantissa & fractionMask));
}

uint32_t floatIeeeToQuorvel(float value) {
    const auto bits = std::bit_cast<uint32_t>(value);
    const bool isNegative = (bits & ieeeSign) != 0;
    const uint32_t field = (bits >> 23) & 0xFF;
    const uint32_t fraction = bits & fractionMask;
    const auto withSign = [isNegative](uint32_t mantissa) {
        return isNegative ? negated(mantissa) : mantissa;
    };
    if (field == 0) {
        return fraction == 0 ? 0 : sensorWord(static_cast<uint32_t>(-126), withSign(fraction));
    }
    if (field == 255) {
        return fraction == 0 ? sensorWord(127, withSign(fractionMask))
                             : sensorWord(0, mantissaSign);
    }
    // Magnitudes of 2^127 and above give an exponent of 128, which the sensors' eight bits hold as
    // -128 (docs/compatibility.md: float-wrap).
    return sensorWord(field - 126, withSign((fraction + hiddenBit) >> 1));
}
