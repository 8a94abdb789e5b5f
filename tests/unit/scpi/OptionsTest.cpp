// The extensions that a program may switch on.
#include "ExampleInstrument.h"

#include <gtest/gtest.h>

namespace {

struct OptionExample {
    uint32_t options;
    std::string_view line;
    std::string_view output;
    std::string_view errors;
};

constexpr uint32_t retry = SCPI_OPTION_RETRY_AS_WRITTEN;
constexpr uint32_t dotted = SCPI_OPTION_DOTTED_ADDRESS;
constexpr uint32_t digits = SCPI_OPTION_DIGIT_NODES;

const OptionExample examples[] = {
    {retry, "CLOC:PER?;CLOC:PER?\n", "7;7\r\n", ""},
    {retry, "CLOC:PER?;PER?\n", "7;7\r\n", ""},
    {retry, "TEST:TREE:A?;CLOC:PER?;MAIN:PER?\n", "10;7;7\r\n", ""},
    {retry, "TEST:TREE:A?;FOO?;B?\n", "10;20\r\n", "-113 <FOO?;>"},
    {retry, "TEST:TREE:A?;:FOO?\n", "10\r\n", "-113 <:FOO?>"},
    {dotted, "VAL:CHAR? 10.0.0.5\n", "8,10.0.0.5\r\n", ""},
    {dotted, "VAL:CHAR? 10.0.0.5 \n", "8,10.0.0.5\r\n", ""},
    {dotted, "VAL:RAW? 1.2.3\n", "1,1,9,5,1.2.3\r\n", ""},
    {dotted, "VAL:RAW? 1.2\n", "1,1,10,3,1.2\r\n", ""},
    {dotted, "VAL:CHAR? 10.0.0.5,1\n", "8,10.0.0.5\r\n", "-108"},
    {dotted, "VAL:CHAR? 10.0..5\n", "", "-101, -101, -101"},
    {dotted, "VAL:CHAR? -10.0.0.5\n", "", "-101, -101, -101, -101"},
    {dotted, "VAL:INT? 10.0.0.5\n", "", "-104"},
    {dotted, "VAL:LIST? 1.5,2\n", "2,1,2\r\n", ""},
    {digits, "SYST:UNIT:9X:SN?\n", "6\r\n", ""},
    {digits, "SYST:UNIT:SN?\n", "6\r\n", ""},
    {digits, "SYST:UNIT:9x:SN?;SN?\n", "6;6\r\n", ""},
    {digits, "*9X?\n", "", "-101, -113 <X?>"},
    {digits, "VAL:INT? 9\n", "9\r\n", ""},
    {retry | dotted | digits, "SYST:UNIT:9X:SN?;VAL:CHAR? 1.2.3.4\n", "6;7,1.2.3.4\r\n", ""},
};

TEST(ScpiOptions, ExtendTheLanguageEachForItself) {
    for (const OptionExample& example : examples) {
        SCOPED_TRACE(example.line);
        ExampleInstrument instrument;
        SCPI_SetOptions(instrument.context(), example.options);
        EXPECT_EQ(instrument.input(example.line), example.errors.empty());
        EXPECT_EQ(instrument.output, example.output);
        EXPECT_EQ(instrument.takeErrors(), example.errors);
    }
}

TEST(ScpiOptions, AreOffInANewContext) {
    ExampleInstrument instrument;
    SCPI_SetOptions(instrument.context(), retry | dotted | digits);
    const ExampleInstrument other;
    EXPECT_EQ(other.scpi.options, 0u);
    EXPECT_NE(instrument.scpi.options, 0u);
}

} // namespace
