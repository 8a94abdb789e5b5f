// Status registers.
#include "ExampleInstrument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

struct RegisterStep {
    bool fresh;
    scpi_reg_name_t name;
    scpi_reg_val_t value;
    std::array<scpi_reg_val_t, SCPI_REG_COUNT> registers;
    std::string_view callbacks;
};

TEST(ScpiStatus, FollowsEveryStepOfTheExamples) {
    const RegisterStep steps[] = {
#include "RegisterExamples.inc"
    };
    static_assert(std::size(steps) == 33);
    std::unique_ptr<ExampleInstrument> instrument;
    for (size_t i = 0; i < std::size(steps); i++) {
        SCOPED_TRACE(i);
        if (steps[i].fresh) {
            instrument = std::make_unique<ExampleInstrument>();
        }
        instrument->calls.clear();
        SCPI_RegSet(instrument->context(), steps[i].name, steps[i].value);
        for (size_t reg = 0; reg < SCPI_REG_COUNT; reg++) {
            EXPECT_EQ(SCPI_RegGet(instrument->context(), static_cast<scpi_reg_name_t>(reg)),
                      steps[i].registers[reg])
                << "register " << reg;
        }
        EXPECT_EQ(instrument->callbacks(true), steps[i].callbacks);
    }
}

TEST(ScpiStatus, IgnoresWhatIsNoRegister) {
    ExampleInstrument instrument;
    SCPI_RegSet(instrument.context(), SCPI_REG_NONE, 1);
    SCPI_RegSet(instrument.context(), SCPI_REG_COUNT, 1);
    SCPI_RegSet(nullptr, SCPI_REG_STB, 1);
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_NONE), 0);
    // What lies behind the last register is not read.
    auto* const behind = reinterpret_cast<char*>(instrument.scpi.registers + SCPI_REG_COUNT);
    std::fill(behind, reinterpret_cast<char*>(&instrument.scpi.units) + 1, '\xff');
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_COUNT), 0);
    EXPECT_EQ(SCPI_RegGet(nullptr, SCPI_REG_STB), 0);
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_STB), 0);
}

TEST(ScpiStatus, SetsAndClearsSingleBits) {
    ExampleInstrument instrument;
    SCPI_RegSetBits(instrument.context(), SCPI_REG_ESE, 0x30);
    SCPI_RegClearBits(instrument.context(), SCPI_REG_ESE, 0x10);
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_ESE), 0x20);
}

TEST(ScpiStatus, ClearsTheStandardEvents) {
    ExampleInstrument instrument;
    SCPI_RegSet(instrument.context(), SCPI_REG_ESE, 0x01);
    SCPI_RegSet(instrument.context(), SCPI_REG_ESR, 0x01);
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_STB), STB_ESR);
    SCPI_EventClear(instrument.context());
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_ESR), 0);
    EXPECT_EQ(SCPI_RegGet(instrument.context(), SCPI_REG_STB), 0);
}

TEST(ScpiStatus, WorksWithoutCallbacks) {
    ExampleInstrument instrument;
    instrument.interface.control = nullptr;
    instrument.interface.error = nullptr;
    instrument.interface.flush = nullptr;
    instrument.interface.reset = nullptr;
    instrument.input("*SRE 255;*ESE 255;FOO;*RST;*OPC?;*CLS\n");
    EXPECT_EQ(instrument.output, "1\r\n");
    EXPECT_EQ(instrument.calls, (std::vector<std::string>{"write(1)", "write(2)"}));
}

TEST(ScpiStatus, FailsResetWithItsCallback) {
    ExampleInstrument instrument;
    instrument.interface.reset = [](scpi_t*) { return SCPI_RES_ERR; };
    EXPECT_FALSE(instrument.input("*RST\n"));
    EXPECT_EQ(instrument.takeErrors(), "-200");
}

TEST(ScpiStatus, ClearsEventsOfEveryGroupAndKeepsConditions) {
    ExampleInstrument instrument;
    for (const scpi_reg_name_t condition : {SCPI_REG_OPERC, SCPI_REG_QUESC}) {
        SCPI_RegSet(instrument.context(), condition, 0x11);
    }
    instrument.input("STAT:OPER:ENAB 1;:STAT:QUES:ENAB 2;*OPC;*CLS\n");
    instrument.input("STAT:OPER?;:STAT:QUES?;*ESR?;:STAT:OPER:COND?;ENAB?;:STAT:QUES:COND?\n");
    EXPECT_EQ(instrument.output, "0;0;0;17;1;17\r\n");
}

TEST(ScpiStatus, PresetsTheQuestionableEventsOnly) {
    ExampleInstrument instrument;
    instrument.input("STAT:QUES:ENAB 3\n");
    SCPI_RegSet(instrument.context(), SCPI_REG_QUES, 3);
    SCPI_RegSet(instrument.context(), SCPI_REG_OPER, 3);
    instrument.input("STAT:PRES;:STAT:QUES?;:STAT:QUES:ENAB?;:STAT:OPER?;:STAT:OPER?\n");
    EXPECT_EQ(instrument.output, "0;3;3;0\r\n");
}

} // namespace
