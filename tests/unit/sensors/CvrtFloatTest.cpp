#include "CvrtFloat.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace {

struct DecodeCase {
    uint32_t word;
    float value;
};

constexpr float infinity = std::numeric_limits<float>::infinity();

TEST(CvrtFloat, KnownWordsDecodeToTheirValues) {
    const DecodeCase cases[] = {
        {0x01400000, 1.0F},
        {0x01C00000, -1.0F},
        {0x00400000, 0.5F},
        {0x05640000, 25.0F},
        {0x07640000, 100.0F},
        {0xF7418937, std::bit_cast<float>(0x3A83126E)}, // 0.001 without its lowest bit
        {0x00800000, -1.0F},
        {0x01800000, -2.0F},
        {0x00000001, std::ldexp(1.0F, -23)},
        {0x00FFFFFF, -std::ldexp(1.0F, -23)},
        {0x7F7FFFFF, std::ldexp(8388607.0F, 104)},
        {0x7F800000, -std::ldexp(1.0F, 127)},
        {0x82600000, std::ldexp(0.75F, -126) * 0.0F},
        {0x83400000, std::ldexp(1.0F, -126)},
    };
    for (const DecodeCase& one : cases) {
        EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(one.word)),
                  std::bit_cast<uint32_t>(one.value))
            << std::hex << one.word;
    }
}

TEST(CvrtFloat, AZeroMantissaIsPositiveZeroWithAnyExponent) {
    for (uint32_t exponent = 0; exponent < 256; ++exponent) {
        EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(exponent << 24)), 0U) << exponent;
    }
}

TEST(CvrtFloat, MagnitudesBelowTheNormalRangeBecomeAZeroWithTheirSign) {
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x80400000)), 0x00000000U);
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x80C00000)), 0x80000000U);
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x80000001)), 0x00000000U);
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x80FFFFFF)), 0x80000000U);
    // Just below the smallest normal float, which itself is kept.
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x827FFFFF)), 0x00000000U);
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x82A00000)), 0x80000000U);
    EXPECT_EQ(std::bit_cast<uint32_t>(floatQuorvelToIeee(0x83400000)), 0x00800000U);
}

TEST(CvrtFloat, EveryWordDecodesToMantissaTimesPowerOfTwo) {
    std::mt19937 random(8830);
    for (int count = 0; count < 200000; ++count) {
        const auto word = static_cast<uint32_t>(random());
        const int exponent = std::bit_cast<int8_t>(static_cast<uint8_t>(word >> 24));
        const int mantissa = static_cast<int>((word & 0xFFFFFF) ^ 0x800000) - 0x800000;
        const double plain = std::ldexp(static_cast<double>(mantissa), exponent - 23);
        const float decoded = floatQuorvelToIeee(word);
        ASSERT_TRUE(std::isfinite(decoded)) << std::hex << word;
        if (std::fabs(plain) < std::ldexp(1.0, -126)) {
            ASSERT_EQ(decoded, 0.0F) << std::hex << word;
            ASSERT_EQ(std::signbit(decoded), mantissa < 0) << std::hex << word;
        } else {
            ASSERT_EQ(static_cast<double>(decoded), plain) << std::hex << word;
        }
    }
}

struct EncodeCase {
    float value;
    uint32_t word;
};

TEST(CvrtFloat, ValuesEncodeToTheirWords) {
    const EncodeCase cases[] = {
        {1.0F, 0x01400000},
        {-1.0F, 0x01C00000},
        {0.5F, 0x00400000},
        {25.0F, 0x05640000},
        {100.0F, 0x07640000},
        {0.001F, 0xF7418937},
        {0.0F, 0x00000000},
        {-0.0F, 0x00000000},
        {infinity, 0x7F7FFFFF},
        {-infinity, 0x7F800001},
        {std::numeric_limits<float>::quiet_NaN(), 0x00800000},
        {std::numeric_limits<float>::denorm_min(), 0x82000001},
        {-std::numeric_limits<float>::denorm_min(), 0x82FFFFFF},
        {std::numeric_limits<float>::max(), 0x807FFFFF},
        {std::ldexp(1.0F, 127), 0x80400000},
        {std::numeric_limits<float>::min(), 0x83400000},
    };
    for (const EncodeCase& one : cases) {
        EXPECT_EQ(floatIeeeToQuorvel(one.value), one.word) << one.value;
    }
}

TEST(CvrtFloat, ANotANumberComesBackAsMinusOne) {
    EXPECT_EQ(floatQuorvelToIeee(floatIeeeToQuorvel(std::nanf(""))), -1.0F);
}

TEST(CvrtFloat, ANormalFloatComesBackWithItsLowestFractionBitCleared) {
    std::mt19937 random(513);
    for (int count = 0; count < 200000; ++count) {
        const auto bits = static_cast<uint32_t>(random());
        const uint32_t field = (bits >> 23) & 0xFF;
        if (field == 0 || field >= 254) {
            continue;
        }
        const float back = floatQuorvelToIeee(floatIeeeToQuorvel(std::bit_cast<float>(bits)));
        ASSERT_EQ(std::bit_cast<uint32_t>(back), bits & ~1U) << std::hex << bits;
    }
}

} // namespace
