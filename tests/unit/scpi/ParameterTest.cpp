// Parameter readers and lists.
#include "ExampleInstrument.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

using namespace std::string_view_literals;

namespace {

// What a reader returned, and what stands in its output afterwards.
struct Reading {
    bool result;
    std::string value;
};

void setParameters(scpi_t* context, const std::string& text) {
    char* from = const_cast<char*>(text.c_str());
    context->param_list.lex_state = {from, from, static_cast<int>(text.size())};
    context->input_count = 0;
}

Reading readInt32(scpi_t* context) {
    int32_t value = -77;
    const bool result = SCPI_ParamInt32(context, &value, TRUE);
    return {result, std::to_string(value)};
}

Reading readDouble(scpi_t* context) {
    double value = -77;
    const bool result = SCPI_ParamDouble(context, &value, TRUE);
    std::array<char, 40> text{};
    SCPI_DoubleToStr(value, text.data(), text.size());
    return {result, text.data()};
}

Reading readCharacters(scpi_t* context) {
    const char* value = nullptr;
    size_t length = 0;
    const bool result = SCPI_ParamCharacters(context, &value, &length, TRUE);
    return {result, value ? std::string(value, length) : "(unset)"};
}

Reading readSecond(scpi_t* context, bool mandatory) {
    int32_t value = -77;
    EXPECT_TRUE(SCPI_ParamInt32(context, &value, TRUE));
    const bool result = SCPI_ParamInt32(context, &value, mandatory);
    return {result, std::to_string(value)};
}

Reading readInt32Twice(scpi_t* context) {
    return readSecond(context, true);
}

Reading readInt32ThenOptional(scpi_t* context) {
    return readSecond(context, false);
}

Reading readNumber(scpi_t* context) {
    scpi_number_t value{};
    value.content.value = -77;
    value.unit = SCPI_UNIT_DAY;
    value.base = 7;
    const bool result = SCPI_ParamNumber(context, scpi_special_numbers_def, &value, TRUE);
    std::array<char, 100> text{};
    std::snprintf(text.data(), text.size(), "special %d, value %g, unit %d, base %d", value.special,
                  value.content.value, value.unit, value.base);
    return {result, text.data()};
}

Reading readNumberWithoutKeywords(scpi_t* context) {
    scpi_number_t value{};
    const bool result = SCPI_ParamNumber(context, nullptr, &value, TRUE);
    return {result, "special " + std::to_string(value.special)};
}

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of a call
struct ReaderExample {
    std::string_view text;
    Reading (*read)(scpi_t*);
    bool result;
    std::string_view value;
    int error;
};

TEST(ScpiParameter, ReadsEveryExampleSetFromOutside) {
    const ReaderExample examples[] = {
#include "ReaderExamples.inc"
    };
    static_assert(std::size(examples) == 22);
    for (const ReaderExample& example : examples) {
        SCOPED_TRACE(example.text);
        ExampleInstrument instrument;
        const std::string text(example.text);
        setParameters(instrument.context(), text);
        const Reading reading = example.read(instrument.context());
        EXPECT_EQ(reading.result, example.result);
        EXPECT_EQ(reading.value, example.value);
        EXPECT_EQ(instrument.takeErrors(), example.error ? std::to_string(example.error) : "");
    }
}

TEST(ScpiParameter, KeepsTheLowBitsOfAnIntegerThatIsTooLarge) {
    if (sizeof(long) < 8) {
        GTEST_SKIP() << "the C library saturates 32-bit longs";
    }
    ExampleInstrument instrument;
    instrument.input("VAL:INT? 2147483648;UINT? 4294967297\n");
    EXPECT_EQ(instrument.output, "-2147483648;1\r\n");
}

TEST(ScpiParameter, SaturatesA64BitInteger) {
    ExampleInstrument instrument;
    instrument.input("VAL:LONG? 9223372036854775808;LONG? -99999999999999999999\n");
    EXPECT_EQ(instrument.output, "9223372036854775807;-9223372036854775808\r\n");
}

TEST(ScpiParameter, AcceptsAnExponentWithBlanks) {
    for (const std::string_view text : {"1.5 E3"sv, "1.5E 3"sv, "1.5 E +3"sv}) {
        ExampleInstrument instrument;
        EXPECT_TRUE(instrument.input("VAL:DOUB? " + std::string(text) + "\n")) << text;
    }
}

TEST(ScpiParameter, RefusesToStoreNowhere) {
    ExampleInstrument instrument;
    scpi_t* context = instrument.context();
    const std::string text = "1";
    setParameters(context, text);
    size_t length = 0;
    const char* characters = nullptr;
    int32_t tag = 0;
    const bool results[] = {
        SCPI_Parameter(context, nullptr, TRUE),
        SCPI_ParamInt32(context, nullptr, TRUE),
        SCPI_ParamUInt32(context, nullptr, TRUE),
        SCPI_ParamInt64(context, nullptr, TRUE),
        SCPI_ParamUInt64(context, nullptr, TRUE),
        SCPI_ParamFloat(context, nullptr, TRUE),
        SCPI_ParamDouble(context, nullptr, TRUE),
        SCPI_ParamBool(context, nullptr, TRUE),
        SCPI_ParamChoice(context, nullptr, &tag, TRUE),
        SCPI_ParamChoice(context, scpi_bool_def, nullptr, TRUE),
        SCPI_ParamNumber(context, scpi_special_numbers_def, nullptr, TRUE),
        SCPI_ParamCharacters(context, nullptr, &length, TRUE),
        SCPI_ParamCharacters(context, &characters, nullptr, TRUE),
        SCPI_ParamArbitraryBlock(context, nullptr, &length, TRUE),
        SCPI_ParamCopyText(context, nullptr, 4, &length, TRUE),
        SCPI_ParamToInt32(context, nullptr, &tag),
    };
    for (const bool result : results) {
        EXPECT_FALSE(result);
    }
    std::string expected = "-310";
    for (size_t i = 1; i < std::size(results); i++) {
        expected += ", -310";
    }
    EXPECT_EQ(instrument.takeErrors(), expected);
    EXPECT_EQ(instrument.scpi.param_list.lex_state.pos, text.c_str()) << "nothing was read";
}

TEST(ScpiParameter, LeavesOutputsAloneWhenAnOptionalOneIsAbsent) {
    ExampleInstrument instrument;
    scpi_t* context = instrument.context();
    const std::string none;
    setParameters(context, none);
    float single = 1;
    scpi_bool_t truth = TRUE;
    int32_t tag = 3;
    const char* characters = nullptr;
    size_t length = 5;
    std::array<char, 4> copy = {"ab"};
    EXPECT_FALSE(SCPI_ParamFloat(context, &single, FALSE));
    EXPECT_FALSE(SCPI_ParamBool(context, &truth, FALSE));
    EXPECT_FALSE(SCPI_ParamChoice(context, scpi_bool_def, &tag, FALSE));
    EXPECT_FALSE(SCPI_ParamCharacters(context, &characters, &length, FALSE));
    EXPECT_FALSE(SCPI_ParamArbitraryBlock(context, &characters, &length, FALSE));
    EXPECT_FALSE(SCPI_ParamCopyText(context, copy.data(), copy.size(), &length, FALSE));
    EXPECT_TRUE(single == 1 && truth && tag == 3 && !characters && length == 5);
    EXPECT_STREQ(copy.data(), "ab");
    EXPECT_EQ(instrument.takeErrors(), "");
}

TEST(ScpiParameter, ReadsArraysOfEveryType) {
    ExampleInstrument instrument;
    const std::string text = "1,2,3";
    const auto read = [&](auto reader, auto value) {
        std::array<decltype(value), 3> values{};
        size_t count = 0;
        setParameters(instrument.context(), text);
        EXPECT_TRUE(
            reader(instrument.context(), values.data(), 3, &count, SCPI_FORMAT_ASCII, TRUE));
        EXPECT_EQ(count, 3u);
        EXPECT_EQ(values, (std::array<decltype(value), 3>{1, 2, 3}));
    };
    read(SCPI_ParamArrayInt32, int32_t{});
    read(SCPI_ParamArrayUInt32, uint32_t{});
    read(SCPI_ParamArrayInt64, int64_t{});
    read(SCPI_ParamArrayUInt64, uint64_t{});
    read(SCPI_ParamArrayFloat, float{});
    read(SCPI_ParamArrayDouble, double{});
}

TEST(ScpiParameter, RefusesArraysInBinaryAndAcceptsEmptyOptionalOnes) {
    ExampleInstrument instrument;
    const std::string none;
    int32_t value = 0;
    size_t count = 9;
    setParameters(instrument.context(), none);
    EXPECT_FALSE(
        SCPI_ParamArrayInt32(instrument.context(), &value, 1, &count, SCPI_FORMAT_NORMAL, TRUE));
    EXPECT_EQ(count, 9u);
    EXPECT_TRUE(
        SCPI_ParamArrayInt32(instrument.context(), &value, 1, &count, SCPI_FORMAT_ASCII, FALSE));
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(
        SCPI_ParamArrayInt32(instrument.context(), &value, 0, &count, SCPI_FORMAT_ASCII, TRUE));
    EXPECT_EQ(instrument.takeErrors(), "");
}

TEST(ScpiParameter, CopiesTextIntoTheRoomThereIs) {
    ExampleInstrument instrument;
    const std::string text = "'a''b','','xyz'";
    std::array<char, 8> copy = {"......."};
    size_t length = 9;
    setParameters(instrument.context(), text);
    EXPECT_TRUE(SCPI_ParamCopyText(instrument.context(), copy.data(), 3, &length, TRUE));
    EXPECT_STREQ(copy.data(), "a'") << "two bytes of the source";
    EXPECT_TRUE(SCPI_ParamCopyText(instrument.context(), copy.data(), 1, &length, TRUE));
    EXPECT_STREQ(copy.data(), "");
    copy.fill('.');
    EXPECT_TRUE(SCPI_ParamCopyText(instrument.context(), copy.data(), 0, &length, TRUE));
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(copy[0], '.');
}

struct CopyExample {
    std::string_view text;
    size_t room;
    std::string_view copy;
};

TEST(ScpiParameter, CopiesNoMoreThanTheRoomAndNeverTheClosingQuote) {
    const CopyExample examples[] = {
        {"'xyz'"sv, 1, ""sv},          {"'xyz'"sv, 2, "x"sv},       {"'xyz'"sv, 3, "xy"sv},
        {"'xyz'"sv, 4, "xyz"sv},       {"'xyz'"sv, 5, "xyz"sv},     {"'xyz'"sv, 6, "xyz"sv},
        {"'a\"\"b'"sv, 5, "a\"\"b"sv}, {"\"a''b\""sv, 5, "a''b"sv}, {"'a''b'"sv, 2, "a"sv},
        {"'a''b'"sv, 3, "a'"sv},       {"'a''b'"sv, 4, "a'"sv},     {"'a''b'"sv, 5, "a'b"sv},
        {"'a''b'"sv, 6, "a'b"sv},      {"''"sv, 1, ""sv},           {"''"sv, 2, ""sv},
    };
    for (const CopyExample& example : examples) {
        ExampleInstrument instrument;
        const std::string text(example.text);
        setParameters(instrument.context(), text);
        std::array<char, 8> copy = {"......."};
        size_t length = 99;
        EXPECT_TRUE(
            SCPI_ParamCopyText(instrument.context(), copy.data(), example.room, &length, TRUE));
        EXPECT_EQ(copy.data(), example.copy) << example.text << " into " << example.room;
        EXPECT_EQ(length, example.copy.size()) << example.text << " into " << example.room;
    }
}

TEST(ScpiParameter, FindsTheNamesOfChoices) {
    const char* text = "untouched";
    EXPECT_FALSE(SCPI_ChoiceToName(scpi_bool_def, 7, &text));
    EXPECT_STREQ(text, "untouched");
    EXPECT_TRUE(SCPI_ChoiceToName(scpi_bool_def, 1, &text));
    EXPECT_STREQ(text, "ON");
}

scpi_parameter_t expression(const std::string& text) {
    return {SCPI_TOKEN_PROGRAM_EXPRESSION, const_cast<char*>(text.c_str()),
            static_cast<int>(text.size())};
}

TEST(ScpiExpression, RefusesNullPointersAndOtherParameters) {
    ExampleInstrument instrument;
    scpi_t* context = instrument.context();
    const std::string text = "(1)";
    scpi_parameter_t list = expression(text);
    scpi_parameter_t other = {SCPI_TOKEN_PROGRAM_MNEMONIC, list.ptr, list.len};
    scpi_bool_t isRange = FALSE;
    int32_t from = 0;
    int32_t to = 0;
    size_t dimensions = 0;
    scpi_parameter_t token{};
    EXPECT_EQ(SCPI_ExprNumericListEntry(context, nullptr, 0, &isRange, &token, &token),
              SCPI_EXPR_ERROR);
    EXPECT_EQ(SCPI_ExprNumericListEntryInt(context, &list, 0, nullptr, &from, &to),
              SCPI_EXPR_ERROR);
    EXPECT_EQ(
        SCPI_ExprChannelListEntry(context, &list, 0, &isRange, nullptr, nullptr, 1, &dimensions),
        SCPI_EXPR_ERROR);
    EXPECT_EQ(instrument.takeErrors(), "-310, -310, -310");
    EXPECT_EQ(SCPI_ExprNumericListEntryInt(context, &other, 0, &isRange, &from, &to),
              SCPI_EXPR_ERROR);
    EXPECT_EQ(SCPI_ExprChannelListEntry(context, &other, 0, &isRange, &from, &to, 1, &dimensions),
              SCPI_EXPR_ERROR);
    EXPECT_EQ(instrument.takeErrors(), "-104, -104");
}

TEST(ScpiExpression, ReadsDoublesAndTellsTheEnd) {
    ExampleInstrument instrument;
    const std::string text = "(1.5,-2e3:.25)";
    scpi_parameter_t list = expression(text);
    scpi_bool_t isRange = TRUE;
    double from = 0;
    double to = 0;
    EXPECT_EQ(SCPI_ExprNumericListEntryDouble(instrument.context(), &list, 0, &isRange, &from, &to),
              SCPI_EXPR_OK);
    EXPECT_TRUE(!isRange && from == 1.5);
    EXPECT_EQ(SCPI_ExprNumericListEntryDouble(instrument.context(), &list, 1, &isRange, &from, &to),
              SCPI_EXPR_OK);
    EXPECT_TRUE(isRange && from == -2000 && to == 0.25);
    EXPECT_EQ(SCPI_ExprNumericListEntryDouble(instrument.context(), &list, 2, &isRange, &from, &to),
              SCPI_EXPR_NO_MORE);
}

struct ChannelEnd {
    std::string text;
    int index;
    scpi_expr_result_t result;
};

TEST(ScpiExpression, TellsAWellFormedEndFromAMissingEntry) {
    const ChannelEnd examples[] = {
        {"(@1)", 1, SCPI_EXPR_NO_MORE},     {"(@1,)", 1, SCPI_EXPR_ERROR},
        {"(@1)", 5, SCPI_EXPR_NO_MORE},     {"(@1!2:3!4)", 1, SCPI_EXPR_NO_MORE},
        {"(@1!2:3,4)", 1, SCPI_EXPR_ERROR}, {"(@1:2:3)", 1, SCPI_EXPR_ERROR},
        {"(@1!)", 0, SCPI_EXPR_ERROR},      {"()", 0, SCPI_EXPR_ERROR},
    };
    for (const ChannelEnd& example : examples) {
        ExampleInstrument instrument;
        scpi_parameter_t list = expression(example.text);
        scpi_bool_t isRange = FALSE;
        size_t dimensions = 0;
        EXPECT_EQ(SCPI_ExprChannelListEntry(instrument.context(), &list, example.index, &isRange,
                                            nullptr, nullptr, 0, &dimensions),
                  example.result)
            << example.text;
    }
}

} // namespace
