// Result writers and number texts.
#include "ExampleInstrument.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

using namespace std::string_view_literals;

namespace {

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of a call
struct ResultExample {
    std::string_view call;
    bool goesOn;
    size_t (*write)(scpi_t*);
    std::string_view bytes;
    size_t returned;
    int outputCount;
};

const ResultExample resultExamples[] = {
#include "ResultExamples.inc"
};

TEST(ScpiResult, WritesEveryExampleByteForByte) {
    static_assert(std::size(resultExamples) == 59);
    std::unique_ptr<ExampleInstrument> instrument;
    for (const ResultExample& example : resultExamples) {
        SCOPED_TRACE(example.call);
        if (!example.goesOn) {
            instrument = std::make_unique<ExampleInstrument>();
        }
        instrument->output.clear();
        instrument->scpi.output_count = 0;
        EXPECT_EQ(example.write(instrument->context()), example.returned);
        EXPECT_EQ(instrument->output, example.bytes);
        EXPECT_EQ(instrument->scpi.output_count, example.outputCount);
    }
    EXPECT_EQ(instrument->takeErrors(), "");
}

TEST(ScpiResult, RefusesMoreBlockDataThanAnnounced) {
    ExampleInstrument instrument;
    SCPI_ResultArbitraryBlockHeader(instrument.context(), 1);
    EXPECT_EQ(SCPI_ResultArbitraryBlockData(instrument.context(), "ab", 2), 0u);
    EXPECT_EQ(instrument.takeErrors(), "-310");
}

TEST(ScpiResult, RefusesBlockDataThatTheCommandBeforeHasAnnounced) {
    const scpi_command_t table[] = {{"HEAD?",
                                     [](scpi_t* c) {
                                         SCPI_ResultArbitraryBlockHeader(c, 1);
                                         return SCPI_RES_OK;
                                     },
                                     0},
                                    {"DATA?",
                                     [](scpi_t* c) {
                                         SCPI_ResultArbitraryBlockData(c, "a", 1);
                                         return SCPI_RES_OK;
                                     },
                                     0},
                                    SCPI_CMD_LIST_END};
    ExampleInstrument instrument(17, nullptr, table);
    instrument.input("HEAD?\n");
    EXPECT_EQ(instrument.takeErrors(), "");
    instrument.input("DATA?\n");
    EXPECT_EQ(instrument.takeErrors(), "-310");
}

TEST(ScpiResult, CountsAnEmptyArrayInAnyBinaryOrder) {
    for (const scpi_array_format_t format : {SCPI_FORMAT_NORMAL, SCPI_FORMAT_SWAPPED}) {
        ExampleInstrument instrument;
        const int32_t none[] = {0};
        EXPECT_EQ(SCPI_ResultArrayInt32(instrument.context(), none, 0, format), 3u);
        EXPECT_EQ(instrument.scpi.output_count, 1);
    }
}

template <typename Value, auto Writer> void expectBothOrders(Value value, std::string big) {
    const std::string header = "#1" + std::to_string(sizeof value);
    ExampleInstrument instrument;
    Writer(instrument.context(), &value, 1, SCPI_FORMAT_BIGENDIAN);
    EXPECT_EQ(instrument.output, header + big);
    instrument.output.clear();
    instrument.scpi.output_count = 0;
    Writer(instrument.context(), &value, 1, SCPI_FORMAT_LITTLEENDIAN);
    EXPECT_EQ(instrument.output, header + std::string(big.rbegin(), big.rend()));
}

TEST(ScpiResult, WritesArraysOfEveryTypeInBothOrders) {
    expectBothOrders<int8_t, SCPI_ResultArrayInt8>(-2, "\xfe");
    expectBothOrders<uint8_t, SCPI_ResultArrayUInt8>(0x12, "\x12");
    expectBothOrders<int16_t, SCPI_ResultArrayInt16>(0x1234, "\x12\x34");
    expectBothOrders<uint16_t, SCPI_ResultArrayUInt16>(0xfedc, "\xfe\xdc");
    expectBothOrders<int32_t, SCPI_ResultArrayInt32>(0x12345678, "\x12\x34\x56\x78");
    expectBothOrders<uint32_t, SCPI_ResultArrayUInt32>(0xfedcba98, "\xfe\xdc\xba\x98");
    expectBothOrders<int64_t, SCPI_ResultArrayInt64>(0x123456789abcdef0,
                                                     "\x12\x34\x56\x78\x9a\xbc\xde\xf0");
    expectBothOrders<uint64_t, SCPI_ResultArrayUInt64>(0xfedcba9876543210,
                                                       "\xfe\xdc\xba\x98\x76\x54\x32\x10");
    expectBothOrders<float, SCPI_ResultArrayFloat>(1.0F, std::string("\x3f\x80\0\0", 4));
    expectBothOrders<double, SCPI_ResultArrayDouble>(-2.0, std::string("\xc0\0\0\0\0\0\0\0", 8));
}

TEST(ScpiResult, SeparatesEverythingButTheFirstByCommas) {
    ExampleInstrument instrument;
    SCPI_ResultArbitraryBlock(instrument.context(), "xy", 2);
    SCPI_ResultArbitraryBlock(instrument.context(), "z", 1);
    SCPI_ResultText(instrument.context(), "");
    SCPI_ResultCharacters(instrument.context(), nullptr, 0);
    SCPI_ResultBool(instrument.context(), FALSE);
    EXPECT_EQ(instrument.output, "#12xy,#11z,\"\",,0");
}

struct IntegerText {
    size_t room;
    std::string_view bytes;
    size_t length;
};

TEST(ScpiUtils, CutsIntegersAndEndsThemOnlyWhereThereIsRoom) {
    const IntegerText examples[] = {{40, "-123\0"sv, 4},
                                    {5, "-123\0"sv, 4},
                                    {4, "-123."sv, 4},
                                    {3, "-12.."sv, 3},
                                    {0, "....."sv, 0}};
    for (const IntegerText& example : examples) {
        std::array<char, 40> text;
        text.fill('.');
        EXPECT_EQ(SCPI_Int32ToStr(-123, text.data(), example.room), example.length);
        EXPECT_EQ(std::string_view(text.data(), example.bytes.size()), example.bytes);
    }
}

TEST(ScpiUtils, CutsFloatingNumbersAndAlwaysEndsThem) {
    std::array<char, 8> text{};
    EXPECT_EQ(SCPI_DoubleToStr(123456, text.data(), 4), 3u);
    EXPECT_STREQ(text.data(), "123");
    EXPECT_EQ(SCPI_FloatToStr(0.25F, text.data(), text.size()), 4u);
    EXPECT_STREQ(text.data(), "0.25");
    EXPECT_EQ(SCPI_DoubleToStr(1, nullptr, 0), 0u);
}

void expectAsPrintf(double value) {
    std::array<char, 40> text{};
    std::array<char, 40> expected{};
    const int length = snprintf(expected.data(), expected.size(), "%.15g", value);
    ASSERT_EQ(SCPI_DoubleToStr(value, text.data(), text.size()), static_cast<size_t>(length));
    ASSERT_STREQ(text.data(), expected.data());
}

// Where the digits are the library's own and where printf's begin, halves, and carries.
TEST(ScpiUtils, WritesDoublesAsPrintfDoesWhereverTheRulesChange) {
    const double values[] = {0,
                             1e-4,
                             0.001,
                             0.1,
                             0.5,
                             1,
                             9.9999999999999995,
                             25.37,
                             100,
                             0.1 + 0.2,
                             1000000.0000000005,
                             12345678.1234375,
                             99999999999999.5,
                             1e14,
                             123456789012345.5,
                             1e15,
                             std::ldexp(1, -52),
                             std::ldexp(1, -53),
                             1e300,
                             INFINITY,
                             NAN};
    for (const double value : values) {
        double above = value;
        double below = value;
        for (int i = 0; i < 100; i++) {
            for (const double near : {above, -above, below, -below}) {
                expectAsPrintf(near);
            }
            above = std::nextafter(above, HUGE_VAL);
            below = std::nextafter(below, -HUGE_VAL);
        }
    }
}

TEST(ScpiUtils, WritesDoublesOfEverySizeAsPrintfDoes) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> exponent(-6, 17);
    for (int i = 0; i < 20000; i++) {
        const double value = std::pow(10, exponent(random));
        expectAsPrintf(value);
        expectAsPrintf(-static_cast<double>(static_cast<float>(value)));
        // Short fractions, whose fifteenth digit is often followed by exactly a half.
        expectAsPrintf(std::floor(value) + static_cast<double>(random() % 64) / 64);
    }
}

TEST(ScpiUtils, WritesExtremesInEveryBase) {
    std::array<char, 72> text{};
    const auto in = [&text](int8_t base) {
        const size_t length = SCPI_UInt64ToStrBase(UINT64_MAX, text.data(), text.size(), base);
        return std::string(text.data(), length);
    };
    EXPECT_EQ(in(2), std::string(64, '1'));
    EXPECT_EQ(in(8), "1777777777777777777777");
    EXPECT_EQ(in(10), "18446744073709551615");
    EXPECT_EQ(in(16), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(in(-3), "18446744073709551615");
    SCPI_Int32ToStr(INT32_MIN, text.data(), text.size());
    EXPECT_STREQ(text.data(), "-2147483648");
    SCPI_UInt32ToStrBase(UINT32_MAX, text.data(), text.size(), 16);
    EXPECT_STREQ(text.data(), "FFFFFFFF");
}

struct NumberText {
    scpi_number_t number;
    bool withUnits;
    size_t room;
    std::string_view text;
    size_t length;
};

scpi_number_t number(double value, scpi_unit_t unit, int8_t base) {
    scpi_number_t made{};
    made.content.value = value;
    made.unit = unit;
    made.base = base;
    return made;
}

scpi_number_t special(int32_t tag) {
    scpi_number_t made{};
    made.special = TRUE;
    made.content.tag = tag;
    made.base = 10;
    return made;
}

TEST(ScpiUnits, WritesEveryExampleOfANumberWithItsUnit) {
    const NumberText examples[] = {
#include "NumberTextExamples.inc"
    };
    static_assert(std::size(examples) == 21);
    for (const NumberText& example : examples) {
        ExampleInstrument instrument(17, example.withUnits ? scpi_units_def : nullptr);
        std::array<char, 40> text = {"untouched"};
        scpi_number_t value = example.number;
        EXPECT_EQ(SCPI_NumberToStr(instrument.context(), scpi_special_numbers_def, &value,
                                   text.data(), example.room),
                  example.length);
        EXPECT_EQ(text.data(), example.text);
    }
}

TEST(ScpiUnits, WritesNothingWithoutANumberOrAPlace) {
    ExampleInstrument instrument;
    std::array<char, 4> text{};
    scpi_number_t value = number(1, SCPI_UNIT_NONE, 10);
    EXPECT_EQ(SCPI_NumberToStr(instrument.context(), nullptr, nullptr, text.data(), 4), 0u);
    EXPECT_EQ(SCPI_NumberToStr(instrument.context(), nullptr, &value, nullptr, 4), 0u);
}

struct UnitExample {
    std::string_view name;
    scpi_unit_t unit;
    double factor;
};

TEST(ScpiUnits, ReadsEveryUnitOfTheTable) {
    const UnitExample examples[] = {
#include "UnitExamples.inc"
    };
    static_assert(std::size(examples) == 101);
    const scpi_unit_def_t* row = scpi_units_def;
    for (const UnitExample& example : examples) {
        SCOPED_TRACE(example.name);
        ASSERT_EQ(row++->name, example.name) << "the order decides which name is written";
        ExampleInstrument instrument;
        const std::string text = "2 " + std::string(example.name);
        scpi_number_t value{};
        instrument.scpi.param_list.lex_state = {const_cast<char*>(text.c_str()),
                                                const_cast<char*>(text.c_str()),
                                                static_cast<int>(text.size())};
        ASSERT_TRUE(SCPI_ParamNumber(instrument.context(), scpi_special_numbers_def, &value, TRUE));
        EXPECT_EQ(value.unit, example.unit);
        EXPECT_DOUBLE_EQ(value.content.value, 2 * example.factor);
    }
    EXPECT_EQ(row->name, nullptr);
}

} // namespace
