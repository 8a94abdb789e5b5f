// The error queue and what errors do to the status.
#include "ExampleInstrument.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

struct ErrorText {
    int16_t code;
    std::optional<std::string> info;
    size_t infoLength;
    std::string_view answer;
    std::string_view callbacks;
};

TEST(ScpiError, AnswersEveryExampleWithItsText) {
    const ErrorText examples[] = {
#include "ErrorTextExamples.inc"
    };
    static_assert(std::size(examples) == 10);
    for (const ErrorText& example : examples) {
        ExampleInstrument instrument(4);
        std::string info = example.info.value_or("");
        SCPI_ErrorPushEx(instrument.context(), example.code, example.info ? info.data() : nullptr,
                         example.infoLength);
        instrument.input("SYST:ERR?\n");
        EXPECT_EQ(instrument.output, example.answer);
        EXPECT_EQ(instrument.callbacks(false), example.callbacks);
    }
}

struct ErrorClass {
    int16_t code;
    scpi_reg_val_t status;
    std::string_view text;
};

TEST(ScpiError, SetsTheStatusBitOfItsClass) {
    const ErrorClass examples[] = {
#include "ErrorClassExamples.inc"
    };
    static_assert(std::size(examples) == 24);
    for (const ErrorClass& example : examples) {
        ExampleInstrument instrument;
        SCPI_ErrorPush(instrument.context(), example.code);
        EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_ESR), example.status) << example.code;
        EXPECT_EQ(SCPI_ErrorTranslate(example.code), example.text);
    }
}

TEST(ScpiError, NamesEveryStandardError) {
#define X(name, code, text)                                                                        \
    EXPECT_EQ(static_cast<int>(name), code);                                                       \
    EXPECT_STREQ(SCPI_ErrorTranslate(code), text);                                                 \
    count++;
#define XE X
    int count = 0;
    LIST_OF_ERRORS
#undef X
#undef XE
    EXPECT_EQ(count, 121);
}

// A text of 399 characters, the quote at one place or everywhere.
struct LongText {
    std::string info;
    size_t between;
    std::string_view end;
};

std::string withQuoteAt(size_t place) {
    std::string text(399, 'x');
    text[place] = '"';
    return text;
}

TEST(ScpiError, CutsAnAnswerAt255CharactersAndNeverWithinADoubledQuote) {
    const LongText examples[] = {
        {std::string(399, 'x'), 255, "xxxxxxxx"}, {std::string(399, '"'), 254, "\"\"\"\"\"\"\"\""},
        {withQuoteAt(238), 254, "xxxxxxxx"},      {withQuoteAt(237), 255, "xxxxxx\"\""},
        {withQuoteAt(100), 255, "xxxxxxxx"},
    };
    for (const LongText& example : examples) {
        ExampleInstrument instrument(4);
        std::string info = example.info;
        SCPI_ErrorPushEx(instrument.context(), -220, info.data(), info.size());
        EXPECT_EQ(
            std::string_view(instrument.scpi.error_queue.data[0].device_dependent_info).size(),
            399u);
        instrument.input("SYST:ERR?\n");
        const std::string between = instrument.output.substr(6, instrument.output.size() - 9);
        EXPECT_EQ(between.size(), example.between);
        EXPECT_TRUE(between.starts_with("Parameter error;" + std::string(2, example.info[0])));
        EXPECT_TRUE(between.ends_with(example.end));
    }
}

TEST(ScpiError, KeepsAtMost255CharactersOfATextWithoutLength) {
    ExampleInstrument instrument(4);
    std::string info(399, 'x');
    SCPI_ErrorPushEx(instrument.context(), -220, info.data(), 0);
    EXPECT_EQ(instrument.takeErrors(), "-220 <" + std::string(255, 'x') + ">");
}

TEST(ScpiError, PopsNothingFromAnEmptyQueue) {
    ExampleInstrument instrument;
    scpi_error_t error = {-1, nullptr};
    EXPECT_TRUE(SCPI_ErrorPop(instrument.context(), &error));
    EXPECT_EQ(error.error_code, 0);
    EXPECT_EQ(error.device_dependent_info, nullptr);
    EXPECT_FALSE(SCPI_ErrorPop(instrument.context(), nullptr));
    EXPECT_FALSE(SCPI_ErrorPop(nullptr, &error));
    EXPECT_TRUE(instrument.calls.empty());
}

TEST(ScpiError, ClearsAQueueThatWentRound) {
    ExampleInstrument instrument(3);
    char info[] = "text";
    for (int round = 0; round < 10; round++) {
        for (int16_t code = -201; code > -206; code--) {
            SCPI_ErrorPushEx(instrument.context(), code, info, 0);
        }
        EXPECT_EQ(SCPI_ErrorCount(instrument.context()), 3);
        scpi_error_t oldest{};
        SCPI_ErrorPop(instrument.context(), &oldest);
        EXPECT_EQ(oldest.error_code, -201);
        std::free(oldest.device_dependent_info);
        SCPI_ErrorClear(instrument.context());
        EXPECT_EQ(SCPI_ErrorCount(instrument.context()), 0);
    }
}

TEST(ScpiError, SurvivesAQueueWithoutRoom) {
    ExampleInstrument instrument;
    SCPI_ErrorInit(instrument.context(), nullptr, 0);
    SCPI_ErrorPush(instrument.context(), -220);
    EXPECT_EQ(SCPI_ErrorCount(instrument.context()), 0);
    instrument.input("SYST:ERR?\n");
    EXPECT_EQ(instrument.output, "0,\"No error\"\r\n");
}

} // namespace
